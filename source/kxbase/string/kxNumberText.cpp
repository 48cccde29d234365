#include "kxbase/string/kxNumberText.h"

#include "kxbase/core/kxMessage.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr std::uint32_t kMinimumBase = 2;
constexpr std::uint32_t kMaximumBase = 62;
constexpr char kUpperFirst[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr char kLowerFirst[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";

// Two digits at a time halve the number of divisions.
constexpr auto kPairs = [] {
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

constexpr auto kIntegerPowers = [] {
    std::array<std::uint64_t, 20> powers{};
    powers[0] = 1;
    for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
    return powers;
}();

// 1233 / 4096 is just above log10(2); the power tells whether the estimate is one too high.
std::size_t decimalDigits(std::uint64_t value) noexcept
{
    const auto bits = static_cast<std::size_t>(std::bit_width(value | 1U));
    const std::size_t estimate = bits * 1233 >> 12U;
    return estimate + (value >= kIntegerPowers[estimate] ? 1U : 0U) + (value == 0 ? 1U : 0U);
}

std::size_t digitsInBase(std::uint64_t value, std::uint32_t base) noexcept
{
    if (base == 10) return decimalDigits(value);
    std::size_t digits = 1;
    while ((value /= base) != 0) ++digits;
    return digits;
}

// Fill the `digits` places that end at `end`; places left of the number's own digits become '0'.
template <typename Char> void writeDecimal(Char* end, std::uint64_t value, std::size_t digits) noexcept
{
    for (; digits >= 2; digits -= 2) {
        const char* const pair = &kPairs[2 * (value % 100)];
        value /= 100;
        *--end = static_cast<Char>(pair[1]);
        *--end = static_cast<Char>(pair[0]);
    }
    if (digits != 0) *--end = static_cast<Char>('0' + value % 10);
}

template <typename Char>
void writeDigits(Char* end, std::uint64_t value, std::size_t digits, const kxIntegerStyle& style) noexcept
{
    const char* const set = style.digitCase == KX_DIGITS_UPPER ? kUpperFirst : kLowerFirst;
    for (; digits != 0; --digits) {
        *--end = static_cast<Char>(set[value % style.base]);
        value /= style.base;
    }
}

bool isBase(std::uint32_t base) noexcept
{
    return base >= kMinimumBase && base <= kMaximumBase;
}

// Works for the smallest integer, whose magnitude no signed value has.
std::uint64_t magnitudeOf(std::int64_t value) noexcept
{
    return value < 0 ? ~static_cast<std::uint64_t>(value) + 1 : static_cast<std::uint64_t>(value);
}

std::size_t textLength(std::uint64_t magnitude, bool negative, const kxIntegerStyle& style) noexcept
{
    if (!isBase(style.base)) return 0;
    const std::size_t digits = digitsInBase(magnitude, style.base);
    return std::max<std::size_t>(digits, style.minimumDigits) + (negative ? 1U : 0U);
}

template <typename Char>
std::size_t integerToText(Char* text, std::uint64_t magnitude, bool negative,
                          const kxIntegerStyle& style) noexcept
{
    const std::size_t length = textLength(magnitude, negative, style);
    text[length] = 0;
    if (length == 0) return 0;
    std::size_t digits = length;
    if (negative) {
        text[0] = '-';
        --digits;
    }
    if (style.base != 10) {
        writeDigits(text + length, magnitude, digits, style);
        return length;
    }
    writeDecimal(text + length, magnitude, digits);
    return length;
}

// Two to the power of 64: the largest magnitude that kxDtoA writes, and one more than an integer holds.
constexpr double kLargest = 18446744073709551616.0;
constexpr char kLargestText[] = "18446744073709551616";

// Decimals that one multiplication yields; see writeFewDecimals.
constexpr std::uint32_t kFewDecimals = 9;
constexpr double kDoubtful = 1e-6;

template <typename Char> struct WholePart {
    Char* end;
    double fraction;
};

// Writes the integer part of a magnitude up to kLargest.
template <typename Char> WholePart<Char> writeWhole(Char* text, double magnitude) noexcept
{
    if (magnitude >= kLargest) return {std::copy_n(kLargestText, sizeof kLargestText - 1, text), 0};
    const auto whole = static_cast<std::uint64_t>(magnitude);
    const std::size_t digits = decimalDigits(whole);
    writeDecimal(text + digits, whole, digits);
    return {text + digits, magnitude - static_cast<double>(whole)};
}

// One step of the digit loop; the resolution pulls a digit up that falls short by noise only.
template <typename Char> void writeDecimalDigit(Char*& end, double& fraction, double& resolution) noexcept
{
    fraction *= 10;
    resolution *= 10;
    const int digit = std::clamp(static_cast<int>(fraction + resolution), 0, 9);
    fraction -= digit;
    *end++ = static_cast<Char>('0' + digit);
}

// The digits of the loop by one multiplication. Both differ from the exact product by less than 1e-6, so they
// can only disagree when the product lies that close to an integer; then answers false.
template <typename Char> bool writeFewDecimals(Char* text, double fraction, std::uint32_t decimals) noexcept
{
    const double product = fraction * static_cast<double>(kIntegerPowers[decimals]);
    const auto digits = static_cast<std::int64_t>(product);
    const double rest = product - static_cast<double>(digits);
    if (rest < kDoubtful || rest > 1 - kDoubtful) return false;
    writeDecimal(text + decimals, static_cast<std::uint64_t>(digits), decimals);
    return true;
}

template <typename Char> Char* writeFixed(Char* text, double magnitude, std::uint32_t decimals) noexcept
{
    const std::uint32_t exact = std::min<std::uint32_t>(decimals, KX_DTOA_MAX_DECIMALS);
    auto [end, fraction] =
        writeWhole(text, magnitude + 0.5 * kxPowerOfTen(-static_cast<std::int32_t>(exact)));
    if (decimals == 0) return end;
    *end++ = '.';
    if (decimals <= kFewDecimals && writeFewDecimals(end, fraction, decimals)) return end + decimals;
    double resolution = 0;
    for (std::uint32_t i = 0; i < exact; ++i) writeDecimalDigit(end, fraction, resolution);
    return std::fill_n(end, decimals - exact, static_cast<Char>('0'));
}

// Half a unit in the last place of the magnitude, and what the multiplications add to the fraction.
double noiseOf(double magnitude, double fraction) noexcept
{
    const double next = std::bit_cast<double>(std::bit_cast<std::uint64_t>(magnitude) + 1);
    return (next - magnitude) / 2 + fraction * 0x1p-51;
}

// `width` is what integer digits and decimals may take together.
template <typename Char> Char* writeAutomatic(Char* text, double magnitude, std::ptrdiff_t width) noexcept
{
    auto [end, fraction] = writeWhole(text, magnitude);
    std::ptrdiff_t decimals = width - (end - text);
    double resolution = noiseOf(magnitude, fraction);
    if (decimals <= 0 || !(fraction > resolution)) return end;
    *end++ = '.';
    while (decimals-- > 0 && fraction > resolution) writeDecimalDigit(end, fraction, resolution);
    return end;
}

template <typename Char>
void floatToText(Char* text, double value, std::int16_t decimals, std::uint32_t* length, std::uint16_t width)
{
    Char* end = text;
    if (value < 0) *end++ = '-';
    const double magnitude = std::fabs(value);
    if (!(magnitude <= kLargest))
        kxMessage(KX_MESSAGE_INTERNAL_WARNING, "Too large number for kxDtoA");
    else if (decimals >= 0)
        end = writeFixed(end, magnitude, static_cast<std::uint32_t>(decimals));
    else
        end = writeAutomatic(end, magnitude, width - (end - text));
    *end = 0;
    if (length != nullptr) *length = static_cast<std::uint32_t>(end - text);
}

}  // namespace

std::size_t kxIntegerTextLength(std::int64_t value, const kxIntegerStyle& style) noexcept
{
    return textLength(magnitudeOf(value), value < 0, style);
}

std::size_t kxUnsignedTextLength(std::uint64_t value, const kxIntegerStyle& style) noexcept
{
    return textLength(value, false, style);
}

std::size_t kxIntegerToText(char* text, std::int64_t value, const kxIntegerStyle& style) noexcept
{
    return integerToText(text, magnitudeOf(value), value < 0, style);
}

std::size_t kxIntegerToText(char16_t* text, std::int64_t value, const kxIntegerStyle& style) noexcept
{
    return integerToText(text, magnitudeOf(value), value < 0, style);
}

std::size_t kxUnsignedToText(char* text, std::uint64_t value, const kxIntegerStyle& style) noexcept
{
    return integerToText(text, value, false, style);
}

std::size_t kxUnsignedToText(char16_t* text, std::uint64_t value, const kxIntegerStyle& style) noexcept
{
    return integerToText(text, value, false, style);
}

void kxDtoA(char16_t* text, double value, std::int16_t decimals, std::uint32_t* length,
            std::uint16_t maximumWidth)
{
    floatToText(text, value, decimals, length, maximumWidth);
}

void kxDtoA(char* text, double value, std::int16_t decimals, std::uint32_t* length,
            std::uint16_t maximumWidth)
{
    floatToText(text, value, decimals, length, maximumWidth);
}
