// UTF-8 to wide text and back: every form agrees on where well-formed text ends, and nothing is written beyond that.

#include "kxbase/message/kxMessageManager.h"
#include "kxbase/string/kxString.h"
#include "kxbase/string/kxUtf.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void require(bool holds)
{
    if (!holds) std::abort();
}

// The units up to the first malformed sequence, decoded one by one.
std::u16string unitsOf(std::string_view bytes)
{
    std::u16string units;
    for (kxUtfSequence next = kxUtfPeek(bytes); next.length != 0; next = kxUtfPeek(bytes)) {
        units += static_cast<char16_t>(next.codePoint);
        bytes.remove_prefix(next.length);
    }
    return units;
}

void checkBytes(std::string_view bytes)
{
    const std::u16string expected = unitsOf(bytes);
    require(kxUtfCharacterCount(bytes) == expected.size());
    constexpr char16_t kUntouched = 0xABCD;
    for (const std::size_t room : {bytes.size(), expected.size(), expected.size() / 2}) {
        std::u16string units(room + 8, kUntouched);
        const kxUtfProgress progress = kxUtfToWide(bytes, units.data(), room);
        require(progress.read <= bytes.size() && progress.written == std::min(room, expected.size()));
        require(units.compare(0, progress.written, expected, 0, progress.written) == 0);
        require(units.find_first_not_of(kUntouched, progress.written) == std::u16string::npos);
    }
    require(kxUtfWholeLength(bytes) <= bytes.size() &&
            bytes.size() - kxUtfWholeLength(bytes) < KX_UTF_MAX_BYTES);
    require(kxUtfPrefix(bytes, bytes.size()) == bytes.size());
    const kxString string(bytes);
    const std::u16string units = unitsOf(string.view());
    require(std::u16string_view(string.wide(), units.size() + 1) == units + u'\0');
}

// Halves without a partner become sequences of their own, so that all units come back but those of pairs.
void checkUnits(std::u16string_view units)
{
    std::string bytes(kxUtfLengthOfWide(units), '?');
    require(kxUtfFromWide(units, bytes.data()) == bytes.size());
    std::u16string joined;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const bool isPair =
            kxIsHighSurrogate(units[i]) && i + 1 < units.size() && kxIsLowSurrogate(units[i + 1]);
        joined +=
            isPair ? static_cast<char16_t>(((units[i] & 0x3FU) << 10U) | (units[i + 1] & 0x3FFU)) : units[i];
        i += isPair ? 1U : 0U;
    }
    require(unitsOf(bytes) == joined);
    require(bytes.size() > KX_STRING_MAX_LENGTH || kxString(units) == kxString(bytes));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kxMessageManager::instance().setEnabled(false);
    checkBytes({reinterpret_cast<const char*>(data), size});
    std::u16string units(size / sizeof(char16_t), u'\0');
    std::memcpy(units.data(), data, units.size() * sizeof(char16_t));
    checkUnits(units);
    return 0;
}
