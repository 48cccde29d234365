// memmove that does not call for a few bytes, as numbers are.
#pragma once

#include <cstdint>
#include <cstring>

namespace kxMove {

// By one word at either end, which may overlap; both are loaded before anything is stored.
template <typename Word>
void ends(std::uint8_t* target, const std::uint8_t* source, std::size_t count) noexcept
{
    Word first;
    Word last;
    std::memcpy(&first, source, sizeof(Word));
    std::memcpy(&last, source + count - sizeof(Word), sizeof(Word));
    std::memcpy(target, &first, sizeof(Word));
    std::memcpy(target + count - sizeof(Word), &last, sizeof(Word));
}

}  // namespace kxMove

// The blocks may overlap. A count of 0 touches neither of them.
inline void kxMoveBytes(void* target, const void* source, std::size_t count) noexcept
{
    auto* const to = static_cast<std::uint8_t*>(target);
    const auto* const from = static_cast<const std::uint8_t*>(source);
    if (count > 2 * sizeof(std::uint64_t))
        std::memmove(to, from, count);
    else if (count >= sizeof(std::uint64_t))
        kxMove::ends<std::uint64_t>(to, from, count);
    else if (count >= sizeof(std::uint32_t))
        kxMove::ends<std::uint32_t>(to, from, count);
    else if (count >= sizeof(std::uint16_t))
        kxMove::ends<std::uint16_t>(to, from, count);
    else if (count == 1)
        *to = *from;
}
