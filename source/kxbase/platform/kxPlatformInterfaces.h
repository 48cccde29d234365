// The network interfaces of this machine.
//
// Threads: any. Allocates, as the system does for the list.
#pragma once

#include <cstdint>

// One IPv4 address of an interface; an interface with several has several entries. Addresses are numbers in the
// host's byte order.
struct kxPlatformInterface {
    char name[64];
    std::uint32_t address;
    std::uint32_t broadcast;  // 0 when the interface has none
    bool isUp;
    bool isLoopback;
};

// Writes at most `capacity` entries, in the system's order; answers how many, 0 when the list cannot be read.
std::uint32_t kxPlatformInterfaces(kxPlatformInterface* interfaces, std::uint32_t capacity);
