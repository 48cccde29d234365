#include "kxbase/protocol/kxHttpCharacters.h"

#include <cstring>

namespace {

constexpr std::uint64_t everyByte(std::uint64_t byte)
{
    return byte * 0x0101010101010101U;
}

// Whether any byte is below 0x20 or is 0x7F, tabs among them.
bool mayHaveControl(const char* bytes)
{
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    const std::uint64_t erased = word ^ everyByte(0x7F);  // zero where 0x7F was
    const std::uint64_t below = (word - everyByte(0x20)) & ~word;
    return ((below | ((erased - everyByte(1)) & ~erased)) & everyByte(0x80)) != 0;
}

}  // namespace

const char* kxHttpFindControl(std::string_view text) noexcept
{
    const char* position = text.data();
    const char* const end = position + text.size();
    while (position != end) {
        if (end - position >= 8 && !mayHaveControl(position))
            position += 8;
        else if (kxHttpIs(*position, KX_HTTP_CONTROL))
            break;
        else
            ++position;
    }
    return position;
}
