// An unsigned number in as few bytes as it needs: groups of 7 bits, the least significant first, with bit 7 set
// in all bytes but the last (little-endian base 128, LEB128).
//
// Nine bytes hold the numbers below 2^63. A larger one loses its top bit, and its ninth byte still says that
// another one follows: such bytes do not read back.
//
// Threads: a plain value.
// Errors:  see kxSerializeData. Reading ends at the first byte without bit 7, however many come before it: what
//          does not fit into 64 bits is added at the place that it has modulo 64.
#pragma once

#include "kxbase/core/kxSerializeData.h"

#include <algorithm>
#include <bit>

class kxVarUInt64 final : public kxSerializeData {
public:
    static constexpr std::uint32_t KX_MAX_BYTES = 9;

    constexpr explicit kxVarUInt64(std::uint64_t value = 0) noexcept : value_(value) {}

    void write(kxSerializeAdapter& adapter) const override;
    void read(kxSerializeAdapter& adapter) override;
    void pushBack(kxSerializeAdapter& adapter) const override;
    std::uint32_t getDataSize() const override { return sizeOf(value_); }

    std::uint64_t getValue() const noexcept { return value_; }
    void setValue(std::uint64_t value) noexcept { value_ = value; }

    // The encoding itself, for bytes in memory.

    static constexpr std::uint32_t sizeOf(std::uint64_t value) noexcept
    {
        // For 1 to 63 bits, (9 * bits + 64) / 64 is bits / 7 rounded up, without a division.
        const auto bits = static_cast<std::uint32_t>(std::bit_width(value | 1));
        return std::min((bits * 9 + 64) / 64, KX_MAX_BYTES);
    }
    // Writes the bytes of the value to a place with room for KX_MAX_BYTES and answers how many these are.
    static std::uint32_t encode(std::uint64_t value, std::uint8_t* place) noexcept
    {
        if (value >= kContinues) return encodeLong(value, place);
        *place = static_cast<std::uint8_t>(value);
        return 1;
    }
    // Takes the value at the start of `size` bytes and answers how many bytes it had; 0, with the value
    // unchanged, when the last of them says that another one follows.
    static std::uint32_t decode(const std::uint8_t* bytes, std::uint32_t size, std::uint64_t& value) noexcept
    {
        if (size == 0 || bytes[0] >= kContinues) return decodeLong(bytes, size, value);
        value = bytes[0];
        return 1;
    }

private:
    static constexpr std::uint8_t kContinues = 0x80;

    static std::uint32_t encodeLong(std::uint64_t value, std::uint8_t* place) noexcept;
    static std::uint32_t decodeLong(const std::uint8_t* bytes, std::uint32_t size,
                                    std::uint64_t& value) noexcept;

    std::uint64_t value_;
};
