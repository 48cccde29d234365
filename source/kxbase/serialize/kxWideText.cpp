#include "kxbase/serialize/kxWideText.h"

#include <bit>
#include <cstring>

namespace {

// Pairs are 16-bit numbers where these have their low byte first; elsewhere they are taken one by one. Steps of
// a fixed size let compilers work on all of its characters together.
constexpr bool kHasPairs = std::endian::native == std::endian::little;
constexpr std::size_t kStep = 16;
constexpr std::uint64_t kSecondBytes = 0xFF00FF00FF00FF00;

void widenStep(const std::uint8_t* text, std::uint8_t* wide)
{
    std::uint8_t characters[kStep];
    std::uint16_t pairs[kStep];
    std::memcpy(characters, text, sizeof characters);
    for (std::size_t index = 0; index < kStep; ++index) pairs[index] = characters[index];
    std::memcpy(wide, pairs, sizeof pairs);
}

// Answers the second bytes of all pairs, put together.
std::uint64_t narrowStep(const std::uint8_t* wide, std::uint8_t* text)
{
    std::uint16_t pairs[kStep];
    std::uint64_t words[kStep / 4];
    std::uint8_t characters[kStep];
    std::memcpy(pairs, wide, sizeof pairs);
    std::memcpy(words, wide, sizeof words);
    for (std::size_t index = 0; index < kStep; ++index) {
        characters[index] = static_cast<std::uint8_t>(pairs[index]);
    }
    std::memcpy(text, characters, sizeof characters);
    return (words[0] | words[1] | words[2] | words[3]) & kSecondBytes;
}

}  // namespace

void kxWideText::widen(const std::uint8_t* text, std::size_t characters, std::uint8_t* wide)
{
    if constexpr (kHasPairs) {
        for (; characters >= kStep; characters -= kStep, text += kStep, wide += 2 * kStep) {
            widenStep(text, wide);
        }
    }
    for (; characters != 0; --characters, ++text, wide += 2) {
        wide[0] = *text;
        wide[1] = 0;
    }
}

bool kxWideText::narrow(const std::uint8_t* wide, std::size_t characters, std::uint8_t* text)
{
    std::uint64_t dropped = 0;
    if constexpr (kHasPairs) {
        for (; characters >= kStep; characters -= kStep, text += kStep, wide += 2 * kStep) {
            dropped |= narrowStep(wide, text);
        }
    }
    for (; characters != 0; --characters, ++text, wide += 2) {
        dropped |= wide[1];
        *text = wide[0];
    }
    return dropped == 0;
}
