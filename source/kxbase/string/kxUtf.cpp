#include "kxbase/string/kxUtf.h"

#include "kxbase/core/kxMessage.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

namespace {

constexpr std::size_t kBlock = 16;     // characters of plain ASCII moved at a time
constexpr std::size_t kByteGroup = 8;  // bytes looked at together
constexpr std::size_t kUnitGroup = 4;  // units looked at together

// Row n - 1 holds the first code point that n bytes do not reach, and the lead byte's fixed bits.
constexpr struct {
    std::uint32_t limit;
    std::uint8_t lead;
} kForms[] = {
    {0x80, 0x00},     {0x800, 0xC0},     {0x10000, 0xE0},
    {0x200000, 0xF0}, {0x4000000, 0xF8}, {KX_UTF_MAX_CODE_POINT + 1, 0xFC},
};
static_assert(std::size(kForms) == KX_UTF_MAX_BYTES);

// 0 above the largest code point.
std::uint32_t byteCount(std::uint32_t codePoint) noexcept
{
    for (std::uint32_t bytes = 1; bytes <= KX_UTF_MAX_BYTES; ++bytes)
        if (codePoint < kForms[bytes - 1].limit) return bytes;
    return 0;
}

// Bytes of the sequence that a lead byte starts; 0 for a continuation byte, 0xFE and 0xFF.
std::uint32_t sequenceLength(std::uint8_t lead) noexcept
{
    const int ones = std::countl_one(lead);
    if (ones == 0) return 1;
    return ones == 1 || ones > 6 ? 0 : static_cast<std::uint32_t>(ones);
}

constexpr bool isContinuation(std::uint8_t byte) noexcept
{
    return (byte & 0xC0U) == 0x80U;
}

constexpr std::uint8_t byteAt(const char* bytes, std::size_t index) noexcept
{
    return static_cast<std::uint8_t>(bytes[index]);
}

void writeSequence(std::uint32_t codePoint, std::uint32_t count, char* bytes) noexcept
{
    for (std::uint32_t i = count - 1; i != 0; --i) {
        bytes[i] = static_cast<char>(0x80U | (codePoint & 0x3FU));
        codePoint >>= 6U;
    }
    bytes[0] = static_cast<char>(kForms[count - 1].lead | codePoint);
}

// How many items of `bits` bits stand before the first that has a bit in the mask, in memory order.
std::size_t itemsBefore(std::uint64_t mask, std::size_t bits) noexcept
{
    const bool little = std::endian::native == std::endian::little;
    return static_cast<std::size_t>(little ? std::countr_zero(mask) : std::countl_zero(mask)) / bits;
}

std::size_t asciiBytes(const char* group) noexcept
{
    std::uint64_t bytes;
    std::memcpy(&bytes, group, sizeof bytes);
    return itemsBefore(bytes & 0x8080808080808080U, 8);
}

std::size_t asciiUnits(const char16_t* group) noexcept
{
    std::uint64_t units;
    std::memcpy(&units, group, sizeof units);
    return itemsBefore(units & 0xFF80FF80FF80FF80U, 16);
}

bool isAsciiBlock(const char* bytes) noexcept
{
    std::uint64_t groups[kBlock / kByteGroup];
    std::memcpy(groups, bytes, sizeof groups);
    return ((groups[0] | groups[1]) & 0x8080808080808080U) == 0;
}

bool isAsciiBlock(const char16_t* units) noexcept
{
    std::uint64_t groups[kBlock / kUnitGroup];
    std::memcpy(groups, units, sizeof groups);
    return ((groups[0] | groups[1] | groups[2] | groups[3]) & 0xFF80FF80FF80FF80U) == 0;
}

// Through a local copy: characters may alias anything, which would keep the loop from becoming one instruction.
template <std::size_t Count> void widen(const char* bytes, char16_t* units) noexcept
{
    std::uint8_t group[Count];
    std::memcpy(group, bytes, Count);
    for (std::size_t i = 0; i < Count; ++i) units[i] = group[i];
}

template <std::size_t Count> void narrow(const char16_t* units, char* bytes) noexcept
{
    char16_t group[Count];
    std::memcpy(group, units, sizeof group);
    for (std::size_t i = 0; i < Count; ++i) bytes[i] = static_cast<char>(group[i]);
}

// Fewer than a group, in at most three steps.
void widenPart(const char* bytes, char16_t* units, std::size_t count) noexcept
{
    static_assert(kByteGroup == 8);
    if ((count & 4U) != 0) widen<4>(bytes, units);
    if ((count & 2U) != 0) widen<2>(bytes + (count & 4U), units + (count & 4U));
    if ((count & 1U) != 0) widen<1>(bytes + count - 1, units + count - 1);
}

// Moves a run of ASCII. Nothing is written behind it: what follows it may be malformed and never be written over.
kxUtfProgress copyAscii(std::string_view bytes, char16_t* units, std::size_t room) noexcept
{
    const std::size_t limit = std::min(bytes.size(), room);
    std::size_t at = 0;
    while (limit - at >= kBlock && isAsciiBlock(bytes.data() + at)) {
        widen<kBlock>(bytes.data() + at, units + at);
        at += kBlock;
    }
    while (limit - at >= kByteGroup) {
        const std::size_t count = asciiBytes(bytes.data() + at);
        if (count != kByteGroup) {
            widenPart(bytes.data() + at, units + at, count);
            return {at + count, at + count};
        }
        widen<kByteGroup>(bytes.data() + at, units + at);
        at += kByteGroup;
    }
    for (; at < limit && byteAt(bytes.data(), at) < 0x80; ++at) units[at] = byteAt(bytes.data(), at);
    return {at, at};
}

// The same from units; each of those left becomes a byte at least, so that there is room for the whole group.
std::size_t copyAscii(std::u16string_view units, char* bytes) noexcept
{
    std::size_t at = 0;
    while (units.size() - at >= kBlock && isAsciiBlock(units.data() + at)) {
        narrow<kBlock>(units.data() + at, bytes + at);
        at += kBlock;
    }
    while (units.size() - at >= kUnitGroup) {
        const std::size_t count = asciiUnits(units.data() + at);
        narrow<kUnitGroup>(units.data() + at, bytes + at);
        at += count;
        if (count != kUnitGroup) return at;
    }
    for (; at < units.size() && units[at] < 0x80; ++at) bytes[at] = static_cast<char>(units[at]);
    return at;
}

// Two and three bytes are what texts mostly hold; answers the length, 0 for any other or malformed sequence.
std::uint32_t decodeShort(const char* bytes, std::size_t left, std::uint32_t& codePoint) noexcept
{
    const std::uint32_t lead = byteAt(bytes, 0);
    if ((lead & 0xE0U) == 0xC0U && left >= 2 && isContinuation(byteAt(bytes, 1))) {
        codePoint = ((lead & 0x1FU) << 6U) | (byteAt(bytes, 1) & 0x3FU);
        return 2;
    }
    if ((lead & 0xF0U) == 0xE0U && left >= 3 && isContinuation(byteAt(bytes, 1)) &&
        isContinuation(byteAt(bytes, 2))) {
        codePoint = ((lead & 0x0FU) << 12U) | ((byteAt(bytes, 1) & 0x3FU) << 6U) | (byteAt(bytes, 2) & 0x3FU);
        return 3;
    }
    return 0;
}

// The code point at an index, which moves behind it.
std::uint32_t takeWide(std::u16string_view units, std::size_t& index) noexcept
{
    const char16_t first = units[index++];
    if (!kxIsHighSurrogate(first) || index == units.size() || !kxIsLowSurrogate(units[index])) return first;
    return 0x10000U + ((first & 0x3FFU) << 10U) + (units[index++] & 0x3FFU);
}

// Single units below the surrogates and above them, which most text is made of.
std::size_t writeUnit(char16_t unit, char* bytes) noexcept
{
    if (unit < 0x800) {
        bytes[0] = static_cast<char>(0xC0U | (unit >> 6U));
        bytes[1] = static_cast<char>(0x80U | (unit & 0x3FU));
        return 2;
    }
    bytes[0] = static_cast<char>(0xE0U | (unit >> 12U));
    bytes[1] = static_cast<char>(0x80U | ((unit >> 6U) & 0x3FU));
    bytes[2] = static_cast<char>(0x80U | (unit & 0x3FU));
    return 3;
}

}  // namespace

std::uint32_t kxUtfByteCount(std::uint32_t codePoint)
{
    const std::uint32_t bytes = byteCount(codePoint);
    if (bytes == 0) kxMessage(KX_MESSAGE_WARNING, KX_UTF_TOO_LARGE);
    return bytes;
}

std::uint32_t kxUtfEncode(std::uint32_t codePoint, char* bytes)
{
    const std::uint32_t count = kxUtfByteCount(codePoint);
    if (count != 0) writeSequence(codePoint, count, bytes);
    return count;
}

std::uint32_t kxUtfDecode(std::string_view bytes, std::uint32_t& length)
{
    const kxUtfSequence sequence = kxUtfPeek(bytes);
    if (sequence.length == 0) kxMessage(KX_MESSAGE_WARNING, "Utf encoding on faulty data set");
    length = sequence.length;
    return sequence.codePoint;
}

kxUtfSequence kxUtfPeek(std::string_view bytes) noexcept
{
    if (bytes.empty()) return {0, 0};
    const std::uint8_t lead = byteAt(bytes.data(), 0);
    const std::uint32_t count = sequenceLength(lead);
    if (count == 1) return {lead, 1};
    if (count == 0 || count > bytes.size()) return {0, 0};
    std::uint32_t codePoint = lead & (0x7FU >> count);
    for (std::uint32_t i = 1; i < count; ++i) {
        if (!isContinuation(byteAt(bytes.data(), i))) return {0, 0};
        codePoint = (codePoint << 6U) | (byteAt(bytes.data(), i) & 0x3FU);
    }
    return {codePoint, count};
}

std::size_t kxUtfCharacterCount(std::string_view bytes) noexcept
{
    std::size_t characters = 0;
    while (true) {
        while (bytes.size() >= kBlock && isAsciiBlock(bytes.data())) {
            bytes.remove_prefix(kBlock);
            characters += kBlock;
        }
        const std::uint32_t length = kxUtfPeek(bytes).length;
        if (length == 0) return characters;
        bytes.remove_prefix(length);
        ++characters;
    }
}

std::size_t kxUtfPrefix(std::string_view bytes, std::size_t characters) noexcept
{
    std::size_t prefix = 0;
    for (; characters != 0 && prefix < bytes.size(); --characters)
        prefix += std::max(kxUtfPeek(bytes.substr(prefix)).length, 1U);
    return prefix;
}

std::size_t kxUtfWholeLength(std::string_view bytes) noexcept
{
    const std::size_t reach = std::min<std::size_t>(bytes.size(), KX_UTF_MAX_BYTES);
    for (std::size_t back = 1; back <= reach; ++back) {
        const std::uint8_t byte = byteAt(bytes.data(), bytes.size() - back);
        if (isContinuation(byte)) continue;
        return sequenceLength(byte) > back ? bytes.size() - back : bytes.size();
    }
    return bytes.size();
}

kxUtfProgress kxUtfToWide(std::string_view bytes, char16_t* units, std::size_t room) noexcept
{
    std::size_t read = 0;
    std::size_t written = 0;
    while (read < bytes.size() && written < room) {
        if (byteAt(bytes.data(), read) < 0x80) {
            const kxUtfProgress run = copyAscii(bytes.substr(read), units + written, room - written);
            read += run.read;
            written += run.written;
            continue;
        }
        std::uint32_t codePoint = 0;
        std::uint32_t length = decodeShort(bytes.data() + read, bytes.size() - read, codePoint);
        if (length == 0) {
            const kxUtfSequence sequence = kxUtfPeek(bytes.substr(read));
            if (sequence.length == 0) break;
            codePoint = sequence.codePoint;
            length = sequence.length;
        }
        units[written++] = static_cast<char16_t>(codePoint);
        read += length;
    }
    return {read, written};
}

std::size_t kxUtfLengthOfWide(std::u16string_view units) noexcept
{
    std::size_t bytes = units.size();
    char16_t before = 0;
    for (const char16_t unit : units) {
        bytes += (unit >= 0x80 ? 1U : 0U) + (unit >= 0x800 ? 1U : 0U);
        // The two halves of a pair were counted as three bytes each, but are four together.
        if (kxIsLowSurrogate(unit) && kxIsHighSurrogate(before)) bytes -= 2;
        before = unit;
    }
    return bytes;
}

std::size_t kxUtfFromWide(std::u16string_view units, char* bytes) noexcept
{
    char* end = bytes;
    for (std::size_t i = 0; i < units.size();) {
        if (units[i] < 0x80) {
            const std::size_t run = copyAscii(units.substr(i), end);
            end += run;
            i += run;
        } else if ((units[i] & 0xF800U) != 0xD800U) {
            end += writeUnit(units[i++], end);
        } else {
            const std::uint32_t codePoint = takeWide(units, i);
            const std::uint32_t count = byteCount(codePoint);
            writeSequence(codePoint, count, end);
            end += count;
        }
    }
    return static_cast<std::size_t>(end - bytes);
}
