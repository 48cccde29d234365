// Characters of 8 bits as characters of 16 bits, low byte first, and back: the loops alone, over plain memory.
//
// Threads: pure functions.
#pragma once

#include <cstddef>
#include <cstdint>

class kxWideText {
public:
    // Writes a zero byte behind each character.
    static void widen(const std::uint8_t* text, std::size_t characters, std::uint8_t* wide);
    // Keeps the first byte of each pair. Answers whether all others were zero. `text` may be `wide` itself.
    static bool narrow(const std::uint8_t* wide, std::size_t characters, std::uint8_t* text);
};
