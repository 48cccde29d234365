#include "kxbase/net/kxSocketAddress.h"

#include "kxbase/platform/kxPlatformSocket.h"

#include <algorithm>

kxSocketAddress::kxSocketAddress(std::uint16_t port)
{
    set(0, port);
}

kxSocketAddress::kxSocketAddress(const kxHostAddress& host, std::uint16_t port)
{
    if (host.isValid()) set(host.value(), port);
}

kxSocketAddress::kxSocketAddress(const kxString& hostName, std::uint16_t port)
    : kxSocketAddress(kxHostAddress(hostName), port)
{}

void kxSocketAddress::set(std::uint32_t host, std::uint16_t port)
{
    std::uint8_t bytes[KX_PLATFORM_ADDRESS_BYTES];
    kxPlatformAddressMake(host, port, bytes);
    setBytes(bytes, KX_PLATFORM_ADDRESS_BYTES);
}

void kxSocketAddress::setBytes(const std::uint8_t* bytes, std::uint32_t sizeBytes)
{
    bytes_.clear();
    bytes_.appendBlock(bytes, sizeBytes);
}

std::uint16_t kxSocketAddress::port() const
{
    std::uint32_t host = 0;
    std::uint16_t port = 0;
    kxPlatformAddressRead(bytes_.data(), bytes_.size(), host, port);
    return port;
}

std::uint32_t kxSocketAddress::hostValue() const
{
    std::uint32_t host = 0;
    std::uint16_t port = 0;
    kxPlatformAddressRead(bytes_.data(), bytes_.size(), host, port);
    return host;
}

kxHostAddress kxSocketAddress::host() const
{
    std::uint32_t host = 0;
    std::uint16_t port = 0;
    if (!kxPlatformAddressRead(bytes_.data(), bytes_.size(), host, port)) return kxHostAddress::none();
    return kxHostAddress(host);
}

bool operator==(const kxSocketAddress& left, const kxSocketAddress& right)
{
    return std::equal(left.bytes_.begin(), left.bytes_.end(), right.bytes_.begin(), right.bytes_.end());
}
