// Strings made from numbers, and numbers read from strings.
#include "kxbase/string/kxNumberScanner.h"
#include "kxbase/string/kxNumberText.h"
#include "kxbase/string/kxString.h"

#include <algorithm>
#include <memory>

namespace {

constexpr std::size_t kShortText = 128;
// More digits than this cannot show in a string, whatever the base and the sign.
constexpr std::uint32_t kMaximumDigits = KX_STRING_MAX_LENGTH + 65;

template <typename Number, typename Write>
kxString integerString(Number value, kxIntegerStyle style, std::size_t length, const Write& write)
{
    char shortText[kShortText];
    if (length < kShortText) return {shortText, write(shortText, value, style)};
    const auto text = std::make_unique<char[]>(length + 1);
    return {text.get(), write(text.get(), value, style)};
}

kxIntegerStyle bounded(kxIntegerStyle style) noexcept
{
    style.minimumDigits = std::min(style.minimumDigits, kMaximumDigits);
    return style;
}

}  // namespace

kxString kxString::fromInteger(std::int64_t value, const kxIntegerStyle& style)
{
    const kxIntegerStyle used = bounded(style);
    return integerString(
        value, used, kxIntegerTextLength(value, used),
        [](char* text, auto number, const auto& how) { return kxIntegerToText(text, number, how); });
}

kxString kxString::fromUnsigned(std::uint64_t value, const kxIntegerStyle& style)
{
    const kxIntegerStyle used = bounded(style);
    return integerString(
        value, used, kxUnsignedTextLength(value, used),
        [](char* text, auto number, const auto& how) { return kxUnsignedToText(text, number, how); });
}

kxString kxString::fromDouble(double value, std::int16_t decimals)
{
    char shortText[kxDtoARoom(KX_DTOA_MAX_DECIMALS)];
    std::unique_ptr<char[]> longText;
    if (decimals > KX_DTOA_MAX_DECIMALS) longText = std::make_unique<char[]>(kxDtoARoom(decimals));
    char* const text = longText != nullptr ? longText.get() : shortText;
    std::uint32_t length = 0;
    kxDtoA(text, value, decimals, &length);
    return {text, length};
}

double kxString::toDouble(char decimalSeparator) const
{
    return kxNumberScanner(decimalSeparator).scanPastBlanks(view()).value;
}

std::int64_t kxString::toInteger() const
{
    return kxNumberScanner().scanInteger(view());
}
