#include "kxbase/serialize/kxBase64Codec.h"

#include <array>
#include <cstring>

namespace {

constexpr std::uint8_t kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint32_t kNoGroup = 0x80000000;

struct Pair {
    std::uint8_t text[2];
};

// Two characters for each value of twelve bits.
constexpr auto kPairs = [] {
    std::array<Pair, 4096> table{};
    for (std::size_t value = 0; value < table.size(); ++value) {
        table[value] = {{kAlphabet[value >> 6], kAlphabet[value & 63]}};
    }
    return table;
}();

constexpr auto kValues = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(kxBase64Codec::kForeign);
    for (std::uint8_t value = 0; value < 64; ++value) table[kAlphabet[value]] = value;
    table['='] = kxBase64Codec::kPadding;
    return table;
}();

// For each place in a group, the bits that a character puts into it.
constexpr auto kBits = [] {
    std::array<std::array<std::uint32_t, 256>, 4> table{};
    for (std::size_t place = 0; place < 4; ++place) {
        for (std::size_t character = 0; character < 256; ++character) {
            const std::uint32_t value = kValues[character];
            table[place][character] = value < 64 ? value << (18 - 6 * place) : kNoGroup;
        }
    }
    return table;
}();

}  // namespace

void kxBase64Codec::encode(const std::uint8_t* bytes, std::size_t groups, std::uint8_t* text)
{
    for (; groups != 0; --groups, bytes += 3, text += 4) {
        const std::uint32_t group = std::uint32_t{bytes[0]} << 16 | std::uint32_t{bytes[1]} << 8 | bytes[2];
        std::memcpy(text, kPairs[group >> 12].text, 2);
        std::memcpy(text + 2, kPairs[group & 0xFFF].text, 2);
    }
}

std::size_t kxBase64Codec::encodeRest(const std::uint8_t* bytes, std::size_t count, std::uint8_t* text)
{
    const std::uint8_t group[3] = {bytes[0], count == 2 ? bytes[1] : std::uint8_t{0}, 0};
    std::uint8_t characters[4];
    encode(group, 1, characters);
    std::memcpy(text, characters, count + 1);
    return count + 1;
}

std::size_t kxBase64Codec::decode(const std::uint8_t* text, std::size_t groups, std::uint8_t* bytes)
{
    std::size_t done = 0;
    for (; done < groups; ++done, text += 4, bytes += 3) {
        const std::uint32_t group =
            kBits[0][text[0]] | kBits[1][text[1]] | kBits[2][text[2]] | kBits[3][text[3]];
        if ((group & kNoGroup) != 0) break;
        bytes[0] = static_cast<std::uint8_t>(group >> 16);
        bytes[1] = static_cast<std::uint8_t>(group >> 8);
        bytes[2] = static_cast<std::uint8_t>(group);
    }
    return done;
}

std::uint8_t kxBase64Codec::value(std::uint8_t character)
{
    return kValues[character];
}
