#include "kxbase/net/kxHostAddress.h"

#include "kxbase/net/kxNetwork.h"

kxHostAddress::kxHostAddress()
{
    set(kxNetwork::localAddress());
}

kxHostAddress::kxHostAddress(std::uint8_t first, std::uint8_t second, std::uint8_t third, std::uint8_t fourth)
{
    set(std::uint32_t{first} << 24 | std::uint32_t{second} << 16 | std::uint32_t{third} << 8 | fourth);
}

kxHostAddress::kxHostAddress(std::uint32_t value)
{
    set(value);
}

kxHostAddress::kxHostAddress(const kxString& text)
{
    const kxArray<std::uint32_t> found = kxNetwork::resolve(text);
    if (!found.isEmpty()) set(found[0]);
}

void kxHostAddress::set(std::uint32_t value)
{
    kind_ = KX_HOST_IPV4;
    for (std::uint32_t shift = 32; shift != 0; shift -= 8) {
        bytes_.append(static_cast<std::uint8_t>(value >> (shift - 8)));
    }
}

std::uint32_t kxHostAddress::value() const
{
    std::uint32_t value = 0;
    for (const std::uint8_t byte : bytes_) value = value << 8 | byte;
    return value;
}

kxString kxHostAddress::text() const
{
    if (!isValid()) return "Unknown";
    return kxString::format("%d.%d.%d.%d", bytes_[0], bytes_[1], bytes_[2], bytes_[3]);
}
