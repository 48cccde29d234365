// ASCII letters without their case; every other byte, those of UTF-8 included, counts as it stands.
//
// Threads: plain functions of their arguments, safe in a signal handler.
#pragma once

#include <algorithm>
#include <string_view>

constexpr char kxAsciiLower(char byte) noexcept
{
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

constexpr bool kxEqualsIgnoreCase(std::string_view left, std::string_view right) noexcept
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return kxAsciiLower(a) == kxAsciiLower(b); });
}
