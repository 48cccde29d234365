// Bytes of every value in no simple order, so that a block that is lost, doubled or misplaced shows.
#pragma once

#include <cstddef>
#include <string>

inline std::string kxTestPattern(std::size_t count)
{
    std::string bytes(count, '\0');
    for (std::size_t index = 0; index < count; ++index) bytes[index] = static_cast<char>(index * 31 / 7);
    return bytes;
}
