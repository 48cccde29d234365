// How the source files of kxString make a string of a known length.
#pragma once

#include "kxbase/core/kxTrackedMemory.h"
#include "kxbase/string/kxString.h"

// `fill` is called with the buffer and writes exactly `length` bytes, and a zero behind them if it likes. Requires an
// empty string and a length of at most KX_STRING_MAX_LENGTH.
template <typename Fill>
void kxString::build(std::size_t length, const Fill& fill, const char* file, std::uint32_t line)
{
    if (length == 0) return;
    auto* const buffer = static_cast<char*>(kxTrackedAllocate(length + 1, file, line));
    fill(buffer);
    buffer[length] = 0;
    text_ = buffer;
    length_ = static_cast<std::uint16_t>(length);
    hash_ = hashOf({buffer, length});
}

template <typename Fill>
kxString kxString::built(std::size_t length, const Fill& fill, const char* file, std::uint32_t line)
{
    kxString result;
    result.build(length, fill, file, line);
    return result;
}
