// A place in a text, for people: line and column, both from 1. A line feed ends a line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

struct kxTextPlace {
    std::uint32_t line = 1;
    std::uint32_t column = 1;

    // Goes over one character.
    constexpr void pass(char16_t character) noexcept
    {
        column = character == '\n' ? 1 : column + 1;
        line += character == '\n' ? 1 : 0;
    }
    // Goes over UTF-8 text; the bytes that continue a character count for nothing.
    constexpr void pass(std::string_view text) noexcept
    {
        for (const char byte : text) {
            if ((static_cast<unsigned char>(byte) & 0xC0U) != 0x80U) pass(static_cast<char16_t>(byte));
        }
    }
    friend constexpr bool operator==(const kxTextPlace&, const kxTextPlace&) noexcept = default;
};
