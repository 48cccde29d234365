// How the source files of kxString make a string of a known length.
#pragma once

#include "kxbase/core/kxTrackedMemory.h"
#include "kxbase/string/kxString.h"

// `fill` is called with the buffer and the length and writes exactly that many bytes. When it throws, the
// buffer goes. Requires length <= KX_STRING_MAX_LENGTH.
template <typename Fill> kxString kxString::built(std::size_t length, const Fill& fill)
{
    kxString result;
    if (length == 0) return result;
    auto* const buffer = static_cast<char*>(kxTrackedAllocate(length + 1));
    result.text_ = buffer;
    result.length_ = static_cast<std::uint16_t>(length);
    fill(buffer, length);
    buffer[length] = 0;
    result.hash_ = hashOf({buffer, length});
    return result;
}
