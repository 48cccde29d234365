#include "kxbase/serialize/kxHexCodec.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace {

constexpr std::uint8_t kNoDigit = 0xFF;
constexpr std::size_t kWordPairs = 4;
// Text without a break for so many pairs is taken for text without lines.
constexpr std::size_t kLinePairs = 40;
// The first character of a word must lie in its lowest byte; elsewhere pairs are taken apart one by one.
constexpr bool kHasWords = std::endian::native == std::endian::little;

struct Pair {
    std::uint8_t text[2];
};

constexpr auto kPairs = [] {
    constexpr std::uint8_t digits[] = "0123456789ABCDEF";
    std::array<Pair, 256> table{};
    for (std::size_t byte = 0; byte < table.size(); ++byte) {
        table[byte] = {{digits[byte >> 4], digits[byte & 15]}};
    }
    return table;
}();

constexpr auto kValues = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(kNoDigit);
    for (std::uint8_t value = 0; value < 10; ++value) table[std::size_t{'0'} + value] = value;
    for (std::uint8_t value = 10; value < 16; ++value) {
        table[std::size_t{'A'} - 10 + value] = table[std::size_t{'a'} - 10 + value] = value;
    }
    return table;
}();

constexpr std::uint64_t everyByte(std::uint64_t byte)
{
    return byte * 0x0101010101010101U;
}

// Takes the eight characters of a word apart side by side; 0 when all are digits.
inline std::uint64_t decodeWord(std::uint64_t text, std::uint32_t& bytes)
{
    // Letters have bit 6 set and count 9 more than their low four bits.
    const std::uint64_t letters = (text >> 6) & everyByte(1);
    const std::uint64_t values = (text & everyByte(0x0F)) + letters + (letters << 3);
    // Written out again, only digits give the text, letters in upper case.
    const std::uint64_t above9 = ((values + everyByte(6)) >> 4) & everyByte(1);
    const std::uint64_t again = values + everyByte('0') + (above9 << 3) - above9;
    const std::uint64_t above15 = values & everyByte(0x10);

    std::uint64_t packed = (values << 4 | values >> 8) & 0x00FF00FF00FF00FFU;
    packed = (packed | packed >> 8) & 0x0000FFFF0000FFFFU;
    bytes = static_cast<std::uint32_t>(packed | packed >> 16);
    return (again ^ (text & ~(letters << 5))) | above15;
}

// Goes on from `done` pairs in steps of so many words, which compilers work on together.
template <std::size_t Words>
std::size_t decodeWords(const std::uint8_t* text, std::size_t pairs, std::uint8_t* bytes, std::size_t done)
{
    constexpr std::size_t stepPairs = Words * kWordPairs;
    for (; pairs - done >= stepPairs; done += stepPairs) {
        std::uint64_t characters[Words];
        std::uint32_t step[Words];
        std::uint64_t faults = 0;
        std::memcpy(characters, text + 2 * done, sizeof characters);
        for (std::size_t word = 0; word < Words; ++word) faults |= decodeWord(characters[word], step[word]);
        if (faults != 0) break;
        std::memcpy(bytes + done, step, sizeof step);
    }
    return done;
}

void encodeByte(std::uint8_t byte, std::uint8_t* text)
{
    std::memcpy(text, kPairs[byte].text, 2);
}

}  // namespace

void kxHexCodec::encode(const std::uint8_t* bytes, std::size_t count, std::uint8_t* text)
{
    for (; count >= 4; count -= 4, bytes += 4, text += 8) {
        encodeByte(bytes[0], text);
        encodeByte(bytes[1], text + 2);
        encodeByte(bytes[2], text + 4);
        encodeByte(bytes[3], text + 6);
    }
    for (; count != 0; --count, ++bytes, text += 2) encodeByte(*bytes, text);
}

std::size_t kxHexCodec::decode(const std::uint8_t* text, std::size_t pairs, std::uint8_t* bytes)
{
    std::size_t done = 0;
    if constexpr (kHasWords) {
        // Text in lines would break most of the larger steps off, and each costs a whole one.
        done = decodeWords<1>(text, std::min(pairs, kLinePairs), bytes, done);
        if (done == kLinePairs) {
            done = decodeWords<4>(text, pairs, bytes, done);
            done = decodeWords<1>(text, pairs, bytes, done);
        }
    }
    for (; done < pairs; ++done) {
        const std::uint8_t first = kValues[text[2 * done]];
        const std::uint8_t second = kValues[text[2 * done + 1]];
        if (first == kNoDigit || second == kNoDigit) break;
        bytes[done] = static_cast<std::uint8_t>(first << 4 | second);
    }
    return done;
}

std::uint8_t kxHexCodec::value(std::uint8_t character)
{
    const std::uint8_t value = kValues[character];
    return value != kNoDigit ? value : std::uint8_t{0};
}
