#include "kxbase/serialize/kxVarUInt64.h"

#include "kxbase/serialize/kxByteOrder.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

#include <cstring>

namespace {

constexpr std::uint32_t kGroupBits = 7;
constexpr std::uint32_t kShiftMask = 63;
// What a word of eight bytes holds, and the bits in it that say that another byte follows.
constexpr std::uint32_t kWordBytes = 8;
constexpr std::uint64_t kAllContinue = 0x8080808080808080U;

// Eight groups of seven bits that lie close together move apart into one byte each: by halves, three times.
constexpr std::uint64_t spread(std::uint64_t groups)
{
    groups = (groups & 0x00FFFFFFF0000000U) << 4 | (groups & 0x000000000FFFFFFFU);
    groups = (groups & 0x0FFFC0000FFFC000U) << 2 | (groups & 0x00003FFF00003FFFU);
    return (groups & 0x3F803F803F803F80U) << 1 | (groups & 0x007F007F007F007FU);
}
constexpr std::uint64_t gathered(std::uint64_t bytes)
{
    bytes = (bytes & 0x7F007F007F007F00U) >> 1 | (bytes & 0x007F007F007F007FU);
    bytes = (bytes & 0x3FFF00003FFF0000U) >> 2 | (bytes & 0x00003FFF00003FFFU);
    return (bytes & 0x0FFFFFFF00000000U) >> 4 | (bytes & 0x000000000FFFFFFFU);
}
// The lowest bytes of a word; `count` is 1 to 8.
constexpr std::uint64_t lowBytes(std::uint32_t count)
{
    return ~std::uint64_t{0} >> (kWordBytes - count) * 8;
}

// The group of a byte at its place.
std::uint64_t placed(std::uint8_t byte, std::uint32_t shift)
{
    return std::uint64_t{byte & 0x7FU} << (shift & kShiftMask);
}

}  // namespace

void kxVarUInt64::write(kxSerializeAdapter& adapter) const
{
    std::uint8_t bytes[KX_MAX_BYTES];
    const std::uint32_t count = encode(value_, bytes);
    // Through writeByte, as read() takes single bytes: adapters see the same calls in both directions.
    for (std::uint32_t index = 0; index < count; ++index) adapter.writeByte(bytes[index]);
}

void kxVarUInt64::read(kxSerializeAdapter& adapter)
{
    value_ = 0;
    std::uint8_t byte = 0;
    std::uint32_t shift = 0;
    do {
        byte = adapter.readChar();
        value_ += placed(byte, shift);
        shift += kGroupBits;
    } while (byte >= kContinues);
}

void kxVarUInt64::pushBack(kxSerializeAdapter& adapter) const
{
    std::uint8_t bytes[KX_MAX_BYTES];
    adapter.pushBack(bytes, encode(value_, bytes));
}

std::uint32_t kxVarUInt64::encodeLong(std::uint64_t value, std::uint8_t* place) noexcept
{
    const std::uint32_t count = sizeOf(value);
    const std::uint64_t continued = kAllContinue & lowBytes(count - 1);
    const std::uint64_t word = kxInByteOrder(spread(value) | continued, KX_BYTE_ORDER_LITTLE);
    std::memcpy(place, &word, kWordBytes);
    // The ninth byte takes bits 56 to 63. Bit 63 falls on the bit that says that another byte follows, which is what
    // the ninth byte of a number from 2^63 on says.
    place[kWordBytes] = static_cast<std::uint8_t>(value >> kWordBytes * kGroupBits);
    return count;
}

std::uint32_t kxVarUInt64::decodeLong(const std::uint8_t* bytes, std::uint32_t size,
                                      std::uint64_t& value) noexcept
{
    std::uint64_t word = 0;
    if (size >= kWordBytes) {
        std::memcpy(&word, bytes, kWordBytes);
        word = kxInByteOrder(word, KX_BYTE_ORDER_LITTLE);
        if (const std::uint64_t last = ~word & kAllContinue; last != 0) {
            const std::uint32_t count = static_cast<std::uint32_t>(std::countr_zero(last)) / 8 + 1;
            value = gathered(word & lowBytes(count));
            return count;
        }
    }
    std::uint64_t sum = 0;
    std::uint32_t shift = 0;
    for (std::uint32_t index = 0; index < size; ++index, shift += kGroupBits) {
        sum += placed(bytes[index], shift);
        if (bytes[index] >= kContinues) continue;
        value = sum;
        return index + 1;
    }
    return 0;
}
