// What counts as white space between words and before numbers, whatever the locale is.
#pragma once

#include <string_view>

constexpr std::string_view KX_WHITE_SPACE = " \t\n\v\f\r";

constexpr bool kxIsWhiteSpace(char character) noexcept
{
    return KX_WHITE_SPACE.find(character) != std::string_view::npos;
}
