// Bytes as hexadecimal digits (RFC 4648, base 16): the loops alone, over plain memory.
//
// Threads: pure functions.
// Units:   one character is one byte of text.
#pragma once

#include <cstddef>
#include <cstdint>

class kxHexCodec {
public:
    // Writes two upper-case digits for each byte.
    static void encode(const std::uint8_t* bytes, std::size_t count, std::uint8_t* text);
    // Turns pairs of digits of either case into bytes, up to the first pair that is none. Answers how many.
    static std::size_t decode(const std::uint8_t* text, std::size_t pairs, std::uint8_t* bytes);
    // What a character counts: its value as a digit of either case, 0 when it is none.
    static std::uint8_t value(std::uint8_t character);
};
