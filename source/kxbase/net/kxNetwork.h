// What the process knows of its machine and of the network around it.
//
// Threads: every function may be called from any thread, also before main and after it. No lock is held while a name
//          is asked for.
// Errors:  "Network initialisation error" is fatal. A name that cannot be found is a Debug message.
// Units:   addresses are IPv4 numbers in the host's byte order.
#pragma once

#include "kxbase/containers/kxArray.h"
#include "kxbase/net/kxHostAddress.h"

#include <optional>

class kxNetwork {
public:
    kxNetwork() = delete;

    // Makes the network usable, once; every socket calls it.
    static void start();

    // Name of this machine; empty when it has none.
    static kxString hostName();
    // The addresses of this machine: those that its name stands for, then those of its interfaces that are up.
    // Looked up at the first call.
    static kxArray<std::uint32_t> hostAddresses();
    // The one that others most likely reach this machine by; looked up at the first call. 0 when the machine has
    // no name or no addresses.
    static std::uint32_t localAddress();
    // The choice among the addresses of a machine: the first that is neither 127.0.0.1 nor 127.0.1.1, but one of
    // 169.0.0.0/8, which a machine gives to itself, only when there is no other; 0 when there is none at all.
    static std::uint32_t chooseLocal(const kxArray<std::uint32_t>& addresses);

    // The addresses of a host in the resolver's order; four decimal numbers stand for themselves.
    static kxArray<std::uint32_t> resolve(const kxString& name);
    // The address of an interface given by an address, by its name, or by a name of this host. When it is none of
    // them, an internal Warning is sent and the address is not valid, which stands for any interface.
    static kxHostAddress interfaceAddress(const kxString& text);
    // Where a socket sends to reach everybody, by the address that it is bound to: the broadcast address of the
    // interface of that address, or of the first interface that is up when it is bound to any. Behind loopback
    // addresses that is 127.255.255.255, else, when no interface fits, 255.255.255.255.
    static std::uint32_t broadcastAddress(std::uint32_t boundAddress);
    // Addresses of the interfaces that are up, loopback included, as they are now.
    static kxArray<std::uint32_t> interfaceAddresses();

    static constexpr std::uint32_t kLocalHost = 0x7F000001;  // 127.0.0.1

    // The number of a text of one to three digits, when it is no more than 255.
    static std::optional<std::uint32_t> octetOf(std::string_view text);
    static constexpr bool isLoopback(std::uint32_t address) { return address >> 24 == 127; }
};
