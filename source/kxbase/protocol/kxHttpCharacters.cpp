#include "kxbase/protocol/kxHttpCharacters.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t kWordBytes = sizeof(std::uint64_t);

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

// The words of a text of one word at least; the last one overlaps.
bool mayHaveControl(std::string_view text)
{
    const char* const last = text.data() + text.size() - kWordBytes;
    for (const char* position = text.data(); position < last; position += kWordBytes) {
        if (mayHaveControl(position)) return true;
    }
    return mayHaveControl(last);
}

}  // namespace

const char* kxHttpFindControl(std::string_view text) noexcept
{
    const char* const end = text.data() + text.size();
    if (text.size() >= kWordBytes && !mayHaveControl(text)) return end;
    return std::find_if(text.data(), end, [](char byte) { return kxHttpIs(byte, KX_HTTP_CONTROL); });
}
