// Texts made for tests.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Bytes of every value in no simple order, so that a block that is lost, doubled or misplaced shows.
inline std::string kxTestPattern(std::size_t count)
{
    std::string bytes(count, '\0');
    for (std::size_t index = 0; index < count; ++index) bytes[index] = static_cast<char>(index * 31 / 7);
    return bytes;
}

inline std::string kxTestRepeated(std::string_view text, std::size_t count)
{
    std::string all;
    while (count-- != 0) all += text;
    return all;
}

// ASCII characters of two bytes each, the low one first.
inline std::string kxTestWide(std::string_view text)
{
    std::string wide;
    for (const char character : text) wide.append({character, '\0'});
    return wide;
}
