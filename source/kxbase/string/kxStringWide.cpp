// Strings from wide text and wide text from strings.
#include "kxbase/core/kxMessage.h"
#include "kxbase/string/kxString.h"
#include "kxbase/string/kxStringBuild.h"
#include "kxbase/string/kxUtf.h"

#include <algorithm>

namespace {

// Up to the terminating zero; more units than a string has bytes cannot show in it.
std::u16string_view viewOfWide(const char16_t* text) noexcept
{
    if (text == nullptr) return {};
    std::size_t length = 0;
    while (length <= KX_STRING_MAX_LENGTH && text[length] != 0) ++length;
    return {text, length};
}

constexpr bool isSurrogate(char16_t unit, char16_t kind) noexcept
{
    return (unit & 0xFC00U) == kind;
}

// The part whose UTF-8 form a string holds, cut between characters.
std::u16string_view fitting(std::u16string_view units) noexcept
{
    units = units.substr(0, KX_STRING_MAX_LENGTH + 1);
    while (kxUtfLengthOfWide(units) > KX_STRING_MAX_LENGTH) {
        // Every unit is at most three bytes, so this many must go at least.
        const std::size_t excess = (kxUtfLengthOfWide(units) - KX_STRING_MAX_LENGTH + 2) / 3;
        std::size_t kept = units.size() - excess;
        if (kept != 0 && isSurrogate(units[kept], 0xDC00) && isSurrogate(units[kept - 1], 0xD800)) --kept;
        units = units.substr(0, kept);
    }
    return units;
}

// Once for a conversion that stops, with the text of the decoder.
void warnMalformed()
{
    kxMessage(KX_MESSAGE_WARNING, "Utf encoding on faulty data set");
}

}  // namespace

kxString::kxString(const char16_t* text) : kxString(viewOfWide(text)) {}

kxString::kxString(std::u16string_view text)
{
    text = fitting(text);
    build(kxUtfLengthOfWide(text), [&](char* buffer) { kxUtfFromWide(text, buffer); });
}

std::uint32_t kxString::characterCount() const noexcept
{
    return static_cast<std::uint32_t>(kxUtfCharacterCount(view()));
}

std::uint32_t kxString::copyWide(char16_t* buffer, bool terminate) const
{
    if (buffer == nullptr) return 0;
    const kxUtfProgress progress = kxUtfToWide(view(), buffer, length_);
    if (progress.read != length_) warnMalformed();
    if (terminate) buffer[progress.written] = 0;
    return static_cast<std::uint32_t>(progress.written);
}
