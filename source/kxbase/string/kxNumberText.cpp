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

// Bits of a digit when the base is a power of two, else 0.
std::uint32_t bitsOfDigit(std::uint32_t base) noexcept
{
    return std::has_single_bit(base) ? static_cast<std::uint32_t>(std::countr_zero(base)) : 0;
}

std::size_t digitsInBase(std::uint64_t value, std::uint32_t base) noexcept
{
    if (base == 10) return decimalDigits(value);
    const std::uint32_t bits = bitsOfDigit(base);
    if (bits != 0) return (static_cast<std::uint32_t>(std::bit_width(value | 1U)) + bits - 1) / bits;
    std::size_t digits = 1;
    while ((value /= base) != 0) ++digits;
    return digits;
}

template <typename Char> void writePair(Char* text, std::uint32_t value) noexcept
{
    std::copy_n(&kPairs[std::size_t{2} * value], 2, text);
}

// Each function for digits writes those of the value before `end`, and no zeros on their left.
//
// Divides 64 bits once for eight digits, and what is left by constants of 32 bits.
template <typename Char> void writeDecimal(Char* end, std::uint64_t value) noexcept
{
    for (; value >= 100000000; value /= 100000000) {
        const auto eight = static_cast<std::uint32_t>(value % 100000000);
        end -= 8;
        writePair(end, eight / 1000000);
        writePair(end + 2, eight / 10000 % 100);
        writePair(end + 4, eight % 10000 / 100);
        writePair(end + 6, eight % 100);
    }
    auto rest = static_cast<std::uint32_t>(value);
    for (; rest >= 100; rest /= 100) writePair(end -= 2, rest % 100);
    if (rest >= 10)
        writePair(end - 2, rest);
    else
        end[-1] = static_cast<Char>('0' + rest);
}

template <typename Char>
void writeDigits(Char* end, std::uint64_t value, const kxIntegerStyle& style) noexcept
{
    const char* const set = style.digitCase == KX_DIGITS_UPPER ? kUpperFirst : kLowerFirst;
    const std::uint32_t bits = bitsOfDigit(style.base);
    do {
        *--end = static_cast<Char>(set[bits != 0 ? value & (style.base - 1) : value % style.base]);
        value = bits != 0 ? value >> bits : value / style.base;
    } while (value != 0);
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
    Char* const end = text + length;
    if (negative) *text++ = '-';
    std::fill(text, end - digitsInBase(magnitude, style.base), static_cast<Char>('0'));
    if (style.base == 10)
        writeDecimal(end, magnitude);
    else
        writeDigits(end, magnitude, style);
    return length;
}

// The common case, without looking at a style.
template <typename Char>
std::size_t decimalToText(Char* text, std::uint64_t magnitude, bool negative) noexcept
{
    if (negative) *text++ = '-';
    const std::size_t digits = decimalDigits(magnitude);
    text[digits] = 0;
    writeDecimal(text + digits, magnitude);
    return digits + (negative ? 1U : 0U);
}

// KX_DTOA_LARGEST is one more than an integer holds.
constexpr char kLargestText[] = "18446744073709551616";

// Decimals that one multiplication yields; see writeFewDecimals.
constexpr std::uint32_t kFewDecimals = 9;
constexpr double kDoubtful = 1e-6;

template <typename Char> struct WholePart {
    Char* end;
    double fraction;
};

// Writes the integer part of a magnitude up to KX_DTOA_LARGEST.
template <typename Char> WholePart<Char> writeWhole(Char* text, double magnitude) noexcept
{
    if (magnitude >= KX_DTOA_LARGEST) return {std::copy_n(kLargestText, sizeof kLargestText - 1, text), 0};
    const auto whole = static_cast<std::uint64_t>(magnitude);
    const std::size_t digits = decimalDigits(whole);
    writeDecimal(text + digits, whole);
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
    const auto value = static_cast<std::uint64_t>(digits);
    std::fill_n(text, decimals - decimalDigits(value), static_cast<Char>('0'));
    writeDecimal(text + decimals, value);
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
    if (!(magnitude <= KX_DTOA_LARGEST))
        kxMessage(KX_MESSAGE_INTERNAL_WARNING, KX_DTOA_TOO_LARGE);
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

std::size_t kxIntegerToText(char* text, std::int64_t value) noexcept
{
    return decimalToText(text, magnitudeOf(value), value < 0);
}

std::size_t kxIntegerToText(char* text, std::int64_t value, const kxIntegerStyle& style) noexcept
{
    return integerToText(text, magnitudeOf(value), value < 0, style);
}

std::size_t kxIntegerToText(char16_t* text, std::int64_t value) noexcept
{
    return decimalToText(text, magnitudeOf(value), value < 0);
}

std::size_t kxIntegerToText(char16_t* text, std::int64_t value, const kxIntegerStyle& style) noexcept
{
    return integerToText(text, magnitudeOf(value), value < 0, style);
}

std::size_t kxUnsignedToText(char* text, std::uint64_t value) noexcept
{
    return decimalToText(text, value, false);
}

std::size_t kxUnsignedToText(char* text, std::uint64_t value, const kxIntegerStyle& style) noexcept
{
    return integerToText(text, value, false, style);
}

std::size_t kxUnsignedToText(char16_t* text, std::uint64_t value) noexcept
{
    return decimalToText(text, value, false);
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
