// The order in which the bytes of a number lie on an adapter, whatever the machine's own order is.
#pragma once

#include <bit>
#include <concepts>
#include <cstdint>

enum kxByteOrder : std::uint8_t {
    KX_BYTE_ORDER_LITTLE = 0,
    KX_BYTE_ORDER_BIG = 1,  // the order of networks
};

constexpr kxByteOrder KX_BYTE_ORDER_HOST =
    std::endian::native == std::endian::little ? KX_BYTE_ORDER_LITTLE : KX_BYTE_ORDER_BIG;

template <std::unsigned_integral Bits> constexpr Bits kxReversedBytes(Bits bits) noexcept
{
    if constexpr (sizeof(Bits) == 8)
        return __builtin_bswap64(bits);
    else if constexpr (sizeof(Bits) == 4)
        return __builtin_bswap32(bits);
    else if constexpr (sizeof(Bits) == 2)
        return __builtin_bswap16(bits);
    else
        return bits;
}

// From the machine's order to the given one, and back.
template <std::unsigned_integral Bits> constexpr Bits kxInByteOrder(Bits bits, kxByteOrder order) noexcept
{
    return order == KX_BYTE_ORDER_HOST ? bits : kxReversedBytes(bits);
}
