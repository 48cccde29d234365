// Strings made from numbers, and numbers read from strings.
#include "kxbase/string/kxNumberScanner.h"
#include "kxbase/string/kxNumberText.h"
#include "kxbase/string/kxString.h"
#include "kxbase/string/kxStringBuild.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t kIntegerRoom = 66;  // a sign, 64 binary digits and the terminating zero

// Zeros that a text of `digits` digits lacks.
std::size_t missingZeros(const kxIntegerStyle& style, std::size_t digits) noexcept
{
    return digits != 0 && style.minimumDigits > digits ? style.minimumDigits - digits : 0;
}

kxIntegerStyle withoutMinimum(kxIntegerStyle style) noexcept
{
    style.minimumDigits = 0;
    return style;
}

}  // namespace

kxString kxString::withZeros(std::string_view text, std::size_t position, std::size_t count)
{
    const std::size_t length = std::min<std::size_t>(text.size() + count, KX_STRING_MAX_LENGTH);
    return built(length, [&](char* to) {
        const std::size_t zeros = std::min(count, length - position);
        std::memcpy(to, text.data(), position);
        std::memset(to + position, '0', zeros);
        std::memcpy(to + position + zeros, text.data() + position, length - position - zeros);
    });
}

kxString kxString::fromInteger(std::int64_t value, const kxIntegerStyle& style)
{
    char text[kIntegerRoom];
    const std::size_t length = kxIntegerToText(text, value, withoutMinimum(style));
    const std::size_t sign = length != 0 && value < 0 ? 1 : 0;
    return withZeros({text, length}, sign, missingZeros(style, length - sign));
}

kxString kxString::fromUnsigned(std::uint64_t value, const kxIntegerStyle& style)
{
    char text[kIntegerRoom];
    const std::size_t length = kxUnsignedToText(text, value, withoutMinimum(style));
    return withZeros({text, length}, 0, missingZeros(style, length));
}

kxString kxString::fromDouble(double value, std::int16_t decimals)
{
    char text[kxDtoARoom(KX_DTOA_MAX_DECIMALS)];
    std::uint32_t length = 0;
    const std::int16_t written = std::min(decimals, KX_DTOA_MAX_DECIMALS);
    kxDtoA(text, value, written, &length);
    // What has no decimals, since it is too large or no number, gets no zeros either.
    const bool hasDecimals = std::string_view(text, length).find('.') != std::string_view::npos;
    return withZeros({text, length}, length, hasDecimals ? static_cast<std::size_t>(decimals - written) : 0);
}

double kxString::toDouble(char decimalSeparator) const
{
    return kxNumberScanner(decimalSeparator).scanPastBlanks(view()).value;
}

std::int64_t kxString::toInteger() const
{
    return kxNumberScanner().scanInteger(view());
}
