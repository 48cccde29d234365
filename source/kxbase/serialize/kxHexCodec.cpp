#include "kxbase/serialize/kxHexCodec.h"

#include <array>
#include <cstring>

namespace {

constexpr std::uint8_t kNoDigit = 0xFF;
constexpr std::size_t kWordPairs = 4;

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

// Eight characters, the first in the lowest byte; compilers make one load of it where they can.
std::uint64_t loadWord(const std::uint8_t* text)
{
    std::uint64_t word = 0;
    for (unsigned index = 0; index < 8; ++index) word |= std::uint64_t{text[index]} << (8 * index);
    return word;
}

void storeWord(std::uint32_t word, std::uint8_t* bytes)
{
    for (unsigned index = 0; index < kWordPairs; ++index) {
        bytes[index] = static_cast<std::uint8_t>(word >> (8 * index));
    }
}

// Takes eight characters apart side by side in one word. Answers whether all are digits.
bool decodeWord(std::uint64_t text, std::uint8_t* bytes)
{
    // Letters have bit 6 set and count 9 more than their low four bits.
    const std::uint64_t letters = (text & everyByte(0x40)) >> 6;
    const std::uint64_t values = (text & everyByte(0x0F)) + letters * 9;
    // Written out again, only digits give the text, letters in upper case.
    const std::uint64_t above9 = ((values + everyByte(6)) >> 4) & everyByte(1);
    const std::uint64_t again = values + everyByte('0') + above9 * ('A' - '9' - 1);
    const std::uint64_t above15 = values & everyByte(0x10);
    if (above15 != 0 || again != (text & ~(letters << 5))) return false;

    std::uint64_t packed = (values << 4 | values >> 8) & 0x00FF00FF00FF00FFU;
    packed = (packed | packed >> 8) & 0x0000FFFF0000FFFFU;
    storeWord(static_cast<std::uint32_t>(packed | packed >> 16), bytes);
    return true;
}

}  // namespace

void kxHexCodec::encode(const std::uint8_t* bytes, std::size_t count, std::uint8_t* text)
{
    for (std::size_t index = 0; index < count; ++index) {
        std::memcpy(text + 2 * index, kPairs[bytes[index]].text, 2);
    }
}

std::size_t kxHexCodec::decode(const std::uint8_t* text, std::size_t pairs, std::uint8_t* bytes)
{
    std::size_t done = 0;
    while (pairs - done >= kWordPairs && decodeWord(loadWord(text + 2 * done), bytes + done))
        done += kWordPairs;
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
