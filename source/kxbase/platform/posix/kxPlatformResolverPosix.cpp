#include "kxbase/platform/kxPlatformResolver.h"

#include <cstring>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

bool kxPlatformHostName(char* buffer, std::size_t sizeBytes)
{
    if (::gethostname(buffer, sizeBytes) != 0) return false;
    return buffer[0] != '\0' && std::memchr(buffer, '\0', sizeBytes) != nullptr;
}

std::uint32_t kxPlatformResolve(const char* name, std::uint32_t* addresses, std::uint32_t capacity)
{
    // One entry for each address, not one for each kind of socket.
    addrinfo wanted{};
    wanted.ai_family = AF_INET;
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(name, nullptr, &wanted, &found) != 0) return 0;
    std::uint32_t count = 0;
    for (const addrinfo* entry = found; entry != nullptr && count < capacity; entry = entry->ai_next) {
        sockaddr_in address{};
        if (entry->ai_family != AF_INET || entry->ai_addrlen != sizeof(address)) continue;
        std::memcpy(&address, entry->ai_addr, sizeof(address));
        addresses[count++] = ntohl(address.sin_addr.s_addr);
    }
    ::freeaddrinfo(found);
    return count;
}
