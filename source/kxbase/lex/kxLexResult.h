// What rules and functions answer, and the names of these codes in texts.
#pragma once

#include <cstdint>
#include <string_view>

enum kxLexResult : std::uint32_t {
    KX_LEX_ERROR = 0,     // matching stops; the lexer's error text says why
    KX_LEX_OK = 1,        // the position is behind what was taken
    KX_LEX_NO_MATCH = 2,  // nothing was taken
};

constexpr std::string_view kxLexResultName(std::uint32_t result) noexcept
{
    constexpr std::string_view names[] = {"Error", "OK", "No Match"};
    return result < 3 ? names[result] : "Unknown Error";
}
