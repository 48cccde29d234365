// Bytes as Base64 (RFC 4648, standard alphabet): the loops alone, over plain memory.
//
// Threads: pure functions.
// Units:   a group is three bytes, or four characters of one byte each.
#pragma once

#include <cstddef>
#include <cstdint>

class kxBase64Codec {
public:
    static constexpr std::uint8_t kPadding = 64;
    static constexpr std::uint8_t kForeign = 65;

    // Writes four characters for each group of bytes.
    static void encode(const std::uint8_t* bytes, std::size_t groups, std::uint8_t* text);
    // Writes the last one or two bytes, without padding. Answers the number of characters, one more than
    // there are bytes.
    static std::size_t encodeRest(const std::uint8_t* bytes, std::size_t count, std::uint8_t* text);
    // Turns groups of characters into bytes, up to the first that holds anything but characters of the
    // alphabet. Answers how many.
    static std::size_t decode(const std::uint8_t* text, std::size_t groups, std::uint8_t* bytes);
    // What a character counts, 0 to 63; kPadding for the equals sign, kForeign for all others.
    static std::uint8_t value(std::uint8_t character);
};
