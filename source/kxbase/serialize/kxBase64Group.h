// One group of Base64 text, taken apart character by character.
//
// A group has four places. A character of the alphabet fills a place with six bits, padding fills one with
// nothing and makes the group a byte shorter, and any other character is passed over. Fewer than two
// characters of the alphabet give no byte.
//
// Threads: a plain value.
// Units:   bytes and characters of one byte each.
#pragma once

#include "kxbase/serialize/kxBase64Codec.h"

class kxBase64Group {
public:
    // Takes the next character; answers whether it completed the group. The bytes of the group before must
    // have been taken.
    bool take(std::uint8_t character)
    {
        isBegun_ = true;
        const std::uint8_t value = kxBase64Codec::value(character);
        if (value == kxBase64Codec::kForeign) return false;
        if (places_ == 0) bits_ = 0;
        if (value == kxBase64Codec::kPadding)
            bits_ >>= 8;
        else
            bits_ |= std::uint32_t{value} << (18 - 6 * characters_++);
        text_[places_] = character;
        if (++places_ == 4) complete();
        return places_ == 0;
    }
    // Fills the places left with padding: the text has ended.
    void end()
    {
        while (!take('=')) {
        }
    }

    // Whether characters were taken for a group that has not given bytes yet.
    bool isBegun() const { return isBegun_; }
    // Whether the next character of the alphabet is the first of a group.
    bool isAtFirstPlace() const { return places_ == 0; }
    // What fills the places so far, at most three.
    const std::uint8_t* text() const { return text_; }
    std::uint32_t places() const { return places_; }
    // Bytes of the complete group that have not been taken.
    std::uint32_t length() const { return length_; }
    std::uint8_t takeByte() { return static_cast<std::uint8_t>(bits_ >> (8 * --length_)); }

private:
    void complete()
    {
        length_ = characters_ > 1 ? characters_ - 1 : 0;
        isBegun_ = length_ == 0;
        places_ = 0;
        characters_ = 0;
    }

    std::uint8_t text_[4] = {};
    std::uint32_t bits_ = 0;
    std::uint32_t places_ = 0;      // filled so far
    std::uint32_t characters_ = 0;  // those of them filled with bits
    std::uint32_t length_ = 0;
    bool isBegun_ = false;
};
