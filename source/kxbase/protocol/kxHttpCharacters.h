// What each byte may be in a message (RFC 9110 5.6.2, RFC 3986).
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string_view>

enum kxHttpCharacter : std::uint8_t {
    KX_HTTP_TOKEN = 1,
    KX_HTTP_DIGIT = 2,
    KX_HTTP_HEX = 4,
    KX_HTTP_SCHEME = 8,    // of a URI, in front of the colon
    KX_HTTP_URI = 16,      // behind it, but for "%"; bytes above 0x7F are taken as they come
    KX_HTTP_BLANK = 32,    // blank and tab
    KX_HTTP_CONTROL = 64,  // has no place in a line
};

inline constexpr auto kxHttpCharacters = [] {
    constexpr std::string_view tokenMarks = "!#$%&'*+-.^_`|~";
    std::array<std::uint8_t, 256> table{};
    const auto add = [&table](std::uint32_t first, std::uint32_t last, std::uint32_t kinds) {
        for (std::uint32_t byte = first; byte <= last; ++byte)
            table[byte] = static_cast<std::uint8_t>(table[byte] | kinds);
    };
    add(0x00, 0x1F, KX_HTTP_CONTROL);
    add(0x21, 0xFF, KX_HTTP_URI);
    add('0', '9', KX_HTTP_TOKEN | KX_HTTP_DIGIT | KX_HTTP_HEX | KX_HTTP_SCHEME);
    for (const std::uint32_t letter : std::initializer_list<std::uint32_t>{'A', 'a'}) {
        add(letter, letter + 5, KX_HTTP_HEX);
        add(letter, letter + 25, KX_HTTP_TOKEN | KX_HTTP_SCHEME);
    }
    for (const char mark : tokenMarks) add(std::uint8_t(mark), std::uint8_t(mark), KX_HTTP_TOKEN);
    for (const char mark : {'+', '-', '.'}) add(std::uint8_t(mark), std::uint8_t(mark), KX_HTTP_SCHEME);
    table['%'] = KX_HTTP_TOKEN;
    table['\t'] = table[' '] = KX_HTTP_BLANK;
    table[0x7F] = KX_HTTP_CONTROL;
    return table;
}();

constexpr bool kxHttpIs(char byte, std::uint32_t kinds) noexcept
{
    return (kxHttpCharacters[static_cast<std::uint8_t>(byte)] & kinds) != 0;
}

// The first control byte, or the end of the text.
const char* kxHttpFindControl(std::string_view text) noexcept;
