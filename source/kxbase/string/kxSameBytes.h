// Equality of short texts without a call: eight bytes at a time, the last ones overlapping; and a number that
// tells most texts apart by their last bytes, where numbered names differ.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

template <typename Word>
inline bool kxSameWords(const char* left, const char* right, std::size_t position) noexcept
{
    Word leftWord;
    Word rightWord;
    std::memcpy(&leftWord, left + position, sizeof(Word));
    std::memcpy(&rightWord, right + position, sizeof(Word));
    return leftWord == rightWord;
}

inline bool kxSameBytes(const char* left, const char* right, std::size_t count) noexcept
{
    if (count > 32) return std::memcmp(left, right, count) == 0;
    if (count >= 8) {
        for (std::size_t position = 0; position + 8 < count; position += 8)
            if (!kxSameWords<std::uint64_t>(left, right, position)) return false;
        return kxSameWords<std::uint64_t>(left, right, count - 8);
    }
    if (count >= 4)
        return kxSameWords<std::uint32_t>(left, right, 0) &&
               kxSameWords<std::uint32_t>(left, right, count - 4);
    for (std::size_t position = 0; position < count; ++position)
        if (left[position] != right[position]) return false;
    return true;
}

inline std::uint16_t kxTailFingerprint(const char* text, std::size_t length) noexcept
{
    const std::size_t count = std::min<std::size_t>(length, 8);
    std::uint64_t tail = 0;
    std::memcpy(&tail, text + (length - count), count);
    return static_cast<std::uint16_t>((tail * 0x9E3779B97F4A7C15U) >> 48U);
}
