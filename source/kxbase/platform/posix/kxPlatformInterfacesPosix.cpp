#include "kxbase/platform/kxPlatformInterfaces.h"

#include <cstring>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace {

bool isIPv4(const sockaddr* address)
{
    return address != nullptr && address->sa_family == AF_INET;
}

std::uint32_t numberOf(const sockaddr* address)
{
    sockaddr_in held{};
    std::memcpy(&held, address, sizeof(held));
    return ntohl(held.sin_addr.s_addr);
}

kxPlatformInterface describe(const ifaddrs& entry)
{
    kxPlatformInterface result{};
    std::strncpy(result.name, entry.ifa_name, sizeof(result.name) - 1);
    result.address = numberOf(entry.ifa_addr);
    if ((entry.ifa_flags & IFF_BROADCAST) != 0 && isIPv4(entry.ifa_broadaddr)) {
        result.broadcast = numberOf(entry.ifa_broadaddr);
    }
    result.isUp = (entry.ifa_flags & IFF_UP) != 0;
    result.isLoopback = (entry.ifa_flags & IFF_LOOPBACK) != 0;
    return result;
}

}  // namespace

std::uint32_t kxPlatformInterfaces(kxPlatformInterface* interfaces, std::uint32_t capacity)
{
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) return 0;
    std::uint32_t count = 0;
    for (const ifaddrs* entry = list; entry != nullptr && count < capacity; entry = entry->ifa_next) {
        if (isIPv4(entry->ifa_addr)) interfaces[count++] = describe(*entry);
    }
    ::freeifaddrs(list);
    return count;
}
