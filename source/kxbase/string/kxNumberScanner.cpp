#include "kxbase/string/kxNumberScanner.h"

#include "kxbase/containers/kxArray.h"
#include "kxbase/core/kxArgument.h"
#include "kxbase/string/kxWhiteSpace.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <utility>

namespace {

constexpr bool isDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}

constexpr bool isSign(char c) noexcept
{
    return c == '+' || c == '-';
}

// Where the parts of a number lie in its text.
struct Shape {
    std::size_t digits = 0;    // start of the digits, after the sign
    std::size_t point = 0;     // 0: none
    std::size_t exponent = 0;  // of the letter; 0: none
    std::size_t length = 0;    // 0: no number
};

std::size_t skipDigits(std::string_view text, std::size_t at) noexcept
{
    while (at < text.size() && isDigit(text[at])) ++at;
    return at;
}

Shape shapeOf(std::string_view text, char separator) noexcept
{
    Shape shape;
    shape.digits = !text.empty() && isSign(text[0]) ? 1 : 0;
    std::size_t at = skipDigits(text, shape.digits);
    if (at == shape.digits) return shape;
    if (at < text.size() && text[at] == separator) {
        const std::size_t end = skipDigits(text, at + 1);
        if (end != at + 1) shape.point = std::exchange(at, end);
    }
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        const std::size_t start = at + 1 + (at + 1 < text.size() && isSign(text[at + 1]) ? 1 : 0);
        const std::size_t end = skipDigits(text, start);
        if (end != start) shape.exponent = std::exchange(at, end);
    }
    shape.length = at;
    return shape;
}

// The value of a written exponent, saturated far outside what digits can make up for.
std::int64_t exponentOf(std::string_view text) noexcept
{
    constexpr std::int64_t kFar = std::int64_t{1} << 62;
    if (text[0] == '+') text.remove_prefix(1);
    std::int64_t value = 0;
    const auto end = text.data() + text.size();
    if (std::from_chars(text.data(), end, value).ec == std::errc{}) return std::clamp(value, -kFar, kFar);
    return text[0] == '-' ? -kFar : kFar;
}

// Whether a number that is out of range is too large; else it is too small. `text` begins with the digits.
bool isTooLarge(std::string_view text, std::size_t wholeDigits, std::string_view exponent) noexcept
{
    const std::size_t first = text.find_first_of("123456789");
    const std::int64_t written = exponent.empty() ? 0 : exponentOf(exponent);
    // The place of the first digit that counts, relative to the point.
    return static_cast<std::int64_t>(wholeDigits) - static_cast<std::int64_t>(first) + written > 0;
}

double valueOf(std::string_view text, const Shape& shape) noexcept
{
    const std::string_view unsignedText = text.substr(shape.digits, shape.length - shape.digits);
    double value = 0;
    const auto end = unsignedText.data() + unsignedText.size();
    if (std::from_chars(unsignedText.data(), end, value).ec == std::errc::result_out_of_range) {
        const std::string_view exponent =
            shape.exponent != 0 ? text.substr(shape.exponent + 1, shape.length - shape.exponent - 1) : "";
        const std::size_t whole = skipDigits(unsignedText, 0);
        value = isTooLarge(unsignedText, whole, exponent) ? std::numeric_limits<double>::infinity() : 0;
    }
    return text[0] == '-' ? -value : value;
}

// The same for a number whose separator is no point.
double valueWithPoint(std::string_view text, const Shape& shape)
{
    constexpr std::size_t kShort = 64;
    char shortText[kShort];
    kxArray<char> longText;
    if (text.size() > kShort) longText.resize(static_cast<std::uint32_t>(text.size()));
    char* const pointed = text.size() > kShort ? longText.data() : shortText;
    std::copy(text.begin(), text.end(), pointed);
    pointed[shape.point] = '.';
    return valueOf({pointed, text.size()}, shape);
}

std::string_view pastBlanks(std::string_view text) noexcept
{
    const std::size_t start = text.find_first_not_of(KX_WHITE_SPACE);
    return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

}  // namespace

kxScannedNumber kxNumberScanner::scan(std::string_view text) const
{
    const Shape shape = shapeOf(text, separator_);
    if (shape.length == 0) return {};
    const bool whole = shape.point == 0 && shape.exponent == 0;
    if (shape.point == 0 || separator_ == '.') return {shape.length, valueOf(text, shape), whole};
    return {shape.length, valueWithPoint(text.substr(0, shape.length), shape), whole};
}

kxScannedNumber kxNumberScanner::scanPastBlanks(std::string_view text) const
{
    return scan(pastBlanks(text));
}

std::int64_t kxNumberScanner::scanInteger(std::string_view text) const
{
    text = pastBlanks(text);
    const kxScannedNumber number = scan(text);
    std::int64_t value = 0;
    const std::size_t skipped = number.isWhole && text[0] == '+' ? 1 : 0;
    if (number.isWhole &&
        std::from_chars(text.data() + skipped, text.data() + number.length, value).ec == std::errc{})
        return value;
    return kxArgument(number.value).toSigned();
}
