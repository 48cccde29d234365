// Strings from wide text and wide text from strings.
#include "kxbase/core/kxMessage.h"
#include "kxbase/string/kxString.h"
#include "kxbase/string/kxStringBuild.h"
#include "kxbase/string/kxUtf.h"
#include "kxbase/string/kxWideBuffer.h"

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

// The part whose UTF-8 form a string holds, cut between characters.
std::u16string_view fitting(std::u16string_view units) noexcept
{
    constexpr std::size_t kBytesPerUnit = 3;
    if (units.size() * kBytesPerUnit <= KX_STRING_MAX_LENGTH) return units;
    units = units.substr(0, KX_STRING_MAX_LENGTH + 1);
    while (kxUtfLengthOfWide(units) > KX_STRING_MAX_LENGTH) {
        // So many must go at least.
        const std::size_t excess = (kxUtfLengthOfWide(units) - KX_STRING_MAX_LENGTH + 2) / kBytesPerUnit;
        std::size_t kept = units.size() - excess;
        if (kept != 0 && kxIsLowSurrogate(units[kept]) && kxIsHighSurrogate(units[kept - 1])) --kept;
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

const char16_t* kxString::wide(std::uint32_t length) const
{
    const std::uint32_t limit = length != 0 ? std::min<std::uint32_t>(length, length_) : length_;
    const std::uint32_t room = length != 0 ? limit : characterCount();
    char16_t* const buffer = kxNextWideBuffer(room + 1);
    const kxUtfProgress progress = kxUtfToWide(view(), buffer, room);
    buffer[progress.written] = 0;
    if (progress.read != length_ && progress.written != limit) warnMalformed();
    return buffer;
}
