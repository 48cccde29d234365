// Datagrams as a stream of bytes, scheme "udp:": what is written goes to one destination, what any sender sends to
// the destination's port is read.
//
//   udp:[host][:port][?options]
//
// The text of the host decides: a first number of 224 to 239 is multicast, a last number of 255 broadcast, anything
// else unicast; without a host everybody on the interface's network is sent to. Several programs of one machine may
// share a port. Options: blocking, timeout, ttl, echo, port, nic.
//
// A write becomes datagrams of up to 1472 bytes, which fit an Ethernet frame; written bytes leave at once. Datagrams
// of this adapter itself are dropped unless echo is on. Empty datagrams are dropped and counted.
//
// Ownership: owns two sockets; the destructor closes them.
// Threads:   any thread may read, write or ask; see kxSerializeAdapterNet.
// Errors:    what fails while opening is the error text. A datagram that cannot be sent is lost and recorded in the
//            sending socket; so is one that a full network does not take within a second. The first is told in a
//            Warning.
#pragma once

#include "kxbase/net/kxNetUrl.h"
#include "kxbase/net/kxSerializeAdapterNet.h"

enum kxUdpMode : std::uint8_t { KX_UDP_UNICAST, KX_UDP_BROADCAST, KX_UDP_MULTICAST };

class kxSerializeAdapterUDP : public kxSerializeAdapterNet {
public:
    // The URL without its scheme; an empty one opens nothing. When opening fails, `errorOut` receives which URL could
    // not be opened and getError() why.
    explicit kxSerializeAdapterUDP(const kxString& url, kxString* errorOut = nullptr);
    ~kxSerializeAdapterUDP() noexcept(false) override;
    const kxType& getType() const override;

    // Whether datagrams can still be received.
    bool isActive() override;
    void writeBlock(const void* bytes, std::uint32_t count) override;

    // How a host text is meant.
    static kxUdpMode modeOf(const kxString& host);
    kxUdpMode getMode() const { return mode_; }
    const kxSocketAddress& getDestination() const { return destination_; }
    const kxSocketAddress& getSendAddress() const { return ownAddress_; }
    // Where the last datagram came from.
    kxSocketAddress getLastSender();
    std::uint64_t getEmptyDatagrams();
    // Error code of the sending socket.
    std::uint32_t getSendError() const { return sendSocket_.error(); }

protected:
    bool isReceiving() override;
    std::uint32_t look() override;
    std::uint32_t take(std::uint8_t* bytes, std::uint32_t count) override
    {
        return queue_.take(bytes, count);
    }
    kxPlatformSocketHandle receivingSocket() const override;
    void closeReceiving() override;

private:
    bool open(const kxString& url);
    void readOptions(const kxNetUrl& url);
    void aim(const kxNetUrl& url);
    bool openSending();
    bool bindSending();
    bool aimSending();
    bool openReceiving();
    bool joinGroup();

    void receivePending();
    bool receiveOne(std::uint32_t sizeBytes);
    bool isOwn(const kxSocketAddress& sender) const;
    std::int64_t sendOne(const std::uint8_t* bytes, std::uint32_t count);

    // The option "nic", and the address that it came to: what both sockets are bound or joined by.
    kxString interfaceText_;
    kxHostAddress interface_ = kxHostAddress::none();
    std::int64_t port_ = 0;
    std::int64_t ttl_ = 0;
    bool echoes_ = false;
    std::atomic<bool> sendingHasFailed_{false};
    kxUdpMode mode_ = KX_UDP_UNICAST;
    kxSocketAddress destination_;
    kxSocket sendSocket_;
    // What the adapter's own datagrams come from: the port of ownAddress_ and its host, or any of ownHosts_ when the
    // socket is bound to no interface. ownHost_ is the host as a number, since it is compared for each datagram.
    kxSocketAddress ownAddress_;
    std::uint32_t ownHost_ = 0;
    kxArray<std::uint32_t> ownHosts_;
    kxSocket receiveSocket_;
    kxSocketAddress lastSender_;
    std::uint64_t emptyDatagrams_ = 0;
};
