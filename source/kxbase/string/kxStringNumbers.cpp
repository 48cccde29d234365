// Strings made from numbers, and numbers read from strings.
#include "kxbase/string/kxNumberScanner.h"
#include "kxbase/string/kxNumberText.h"
#include "kxbase/string/kxString.h"
#include "kxbase/string/kxStringBuild.h"

#include <algorithm>
#include <cstring>

namespace {

// More digits than a string holds are not written.
kxIntegerStyle cut(kxIntegerStyle style, std::uint32_t signLength) noexcept
{
    style.minimumDigits = std::min(style.minimumDigits, KX_STRING_MAX_LENGTH - signLength);
    return style;
}

}  // namespace

kxString kxString::withZeros(std::string_view text, std::size_t count)
{
    const std::size_t length = std::min<std::size_t>(text.size() + count, KX_STRING_MAX_LENGTH);
    return built(length, [&](char* to) {
        std::memcpy(to, text.data(), text.size());
        std::memset(to + text.size(), '0', length - text.size());
    });
}

kxString kxString::fromInteger(std::int64_t value, const kxIntegerStyle& style)
{
    const kxIntegerStyle used = cut(style, value < 0 ? 1 : 0);
    return built(kxIntegerTextLength(value, used), [&](char* to) { kxIntegerToText(to, value, used); });
}

kxString kxString::fromUnsigned(std::uint64_t value, const kxIntegerStyle& style)
{
    const kxIntegerStyle used = cut(style, 0);
    return built(kxUnsignedTextLength(value, used), [&](char* to) { kxUnsignedToText(to, value, used); });
}

kxString kxString::fromDouble(double value, std::int16_t decimals)
{
    char text[kxDtoARoom(KX_DTOA_MAX_DECIMALS)];
    std::uint32_t length = 0;
    const std::int16_t written = std::min(decimals, KX_DTOA_MAX_DECIMALS);
    kxDtoA(text, value, written, &length);
    // What has no decimals, since it is too large or no number, gets no zeros either.
    const bool hasDecimals = std::string_view(text, length).find('.') != std::string_view::npos;
    return withZeros({text, length}, hasDecimals ? static_cast<std::size_t>(decimals - written) : 0);
}

double kxString::toDouble(char decimalSeparator) const
{
    return kxNumberScanner(decimalSeparator).scanPastBlanks(view()).value;
}

std::int64_t kxString::toInteger() const
{
    return kxNumberScanner().scanInteger(view());
}
