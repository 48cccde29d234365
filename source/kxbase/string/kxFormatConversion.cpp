#include "kxbase/string/kxFormatConversion.h"

#include "kxbase/string/kxNumberText.h"
#include "kxbase/string/kxUtf.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t kIntegerRoom = 65;  // 64 binary digits and the terminator
constexpr std::int32_t kDefaultPrecision = 6;

// A number in its parts, in the order in which they are written.
struct Number {
    std::string_view prefix = {};  // sign or base
    std::size_t leadingZeros = 0;
    std::string_view digits = {};
    std::size_t trailingZeros = 0;
    std::string_view exponent = {};

    std::size_t width() const noexcept
    {
        return prefix.size() + leadingZeros + digits.size() + trailingZeros + exponent.size();
    }
};

void writeNumber(const kxFormatSpec& spec, Number number, kxFormatOutput& output)
{
    const std::size_t width = number.width();
    // Most numbers stand alone.
    if (width == number.digits.size() && width >= spec.width) return output.append(number.digits);
    std::size_t padding = spec.width > width ? spec.width - width : 0;
    if (spec.zeroPad && !spec.leftJustify) number.leadingZeros += std::exchange(padding, 0U);
    if (!spec.leftJustify) output.append(padding, ' ');
    output.append(number.prefix);
    output.append(number.leadingZeros, '0');
    output.append(number.digits);
    output.append(number.trailingZeros, '0');
    output.append(number.exponent);
    if (spec.leftJustify) output.append(padding, ' ');
}

// Characters of a text, as far as they matter for a width.
std::size_t charactersUpTo(std::string_view text, std::size_t limit) noexcept
{
    std::size_t characters = 0;
    for (; characters < limit && !text.empty(); ++characters) text.remove_prefix(kxUtfPrefix(text, 1));
    return characters;
}

void writeText(const kxFormatSpec& spec, std::string_view text, kxFormatOutput& output)
{
    if (spec.precision >= 0)
        text = text.substr(0, kxUtfPrefix(text, static_cast<std::size_t>(spec.precision)));
    if (spec.width == 0) return output.append(text);
    const std::size_t padding = spec.width - charactersUpTo(text, spec.width);
    if (!spec.leftJustify) output.append(padding, ' ');
    output.append(text);
    if (spec.leftJustify) output.append(padding, ' ');
}

void writeCharacter(const kxFormatConversion&, const kxFormatSpec& spec, const kxArgument& argument,
                    kxFormatOutput& output)
{
    char bytes[KX_UTF_MAX_BYTES];
    const std::uint32_t length = kxUtfEncode(static_cast<std::uint32_t>(argument.toUnsigned()), bytes);
    kxFormatSpec whole = spec;
    whole.precision = -1;
    writeText(whole, {bytes, length}, output);
}

bool isCodePoint(const kxArgument& argument)
{
    return argument.toUnsigned() <= KX_UTF_MAX_CODE_POINT;
}

void writeBlanks(const kxFormatConversion&, const kxFormatSpec& spec, const kxArgument&,
                 kxFormatOutput& output)
{
    output.append(spec.width, ' ');
}

std::size_t wholeCharacters(std::string_view text, std::size_t limit) noexcept
{
    return charactersUpTo(text.substr(0, kxUtfWholeLength(text)), limit);
}

std::size_t wholeCharacters(std::u16string_view text, std::size_t limit) noexcept
{
    std::size_t characters = 0;
    for (std::size_t at = 0; at < text.size() && characters < limit; ++at, ++characters) {
        if (!kxIsHighSurrogate(text[at])) continue;
        if (at + 1 == text.size()) break;
        if (kxIsLowSurrogate(text[at + 1])) ++at;
    }
    return characters;
}

// The units of an argument's first characters, all of them when there are fewer. A text given by its address may
// end without a zero behind the last one; every character that is missing has one more unit at least.
template <typename Read> auto firstCharacters(std::size_t characters, Read read)
{
    std::size_t units = characters;
    while (true) {
        const auto text = read(units);
        const std::size_t found = wholeCharacters(text, characters);
        if (text.size() < units || found == characters) return text;
        units += characters - found;
    }
}

std::string_view usedText(const kxFormatSpec& spec, const kxArgument& argument)
{
    if (spec.precision < 0) return argument.text(KX_FORMAT_MAX_WIDTH * KX_UTF_MAX_BYTES);
    return firstCharacters(static_cast<std::size_t>(spec.precision),
                           [&](std::size_t bytes) { return argument.text(bytes); });
}

std::u16string_view usedWideText(const kxFormatSpec& spec, const kxArgument& argument)
{
    constexpr std::size_t kUnitsPerCharacter = 2;
    if (spec.precision < 0) return argument.wideText(KX_FORMAT_MAX_WIDTH * kUnitsPerCharacter);
    return firstCharacters(static_cast<std::size_t>(spec.precision),
                           [&](std::size_t units) { return argument.wideText(units); });
}

bool hasText(const kxArgument& argument)
{
    return argument.hasText();
}

bool hasWideText(const kxArgument& argument)
{
    return argument.hasWideText();
}

void writeNarrow(const kxFormatConversion&, const kxFormatSpec& spec, const kxArgument& argument,
                 kxFormatOutput& output)
{
    if (output.isFull()) return;
    writeText(spec, usedText(spec, argument), output);
}

void writeWide(const kxFormatConversion&, const kxFormatSpec& spec, const kxArgument& argument,
               kxFormatOutput& output)
{
    if (output.isFull()) return;
    const std::u16string_view wide = usedWideText(spec, argument);
    if (spec.width == 0 && spec.precision < 0) return output.appendWide(wide);
    kxFormatOutput text;
    text.appendWide(wide);
    writeText(spec, text.text(), output);
}

std::int64_t signedOfSize(std::int64_t value, std::uint8_t sizeBytes) noexcept
{
    if (sizeBytes == 2) return static_cast<std::int16_t>(value);
    return sizeBytes == 4 ? static_cast<std::int32_t>(value) : value;
}

std::uint64_t unsignedOfSize(std::uint64_t value, std::uint8_t sizeBytes) noexcept
{
    if (sizeBytes == 2) return static_cast<std::uint16_t>(value);
    return sizeBytes == 4 ? static_cast<std::uint32_t>(value) : value;
}

std::string_view signOf(const kxFormatSpec& spec, bool negative) noexcept
{
    if (negative) return "-";
    if (spec.plus) return "+";
    return spec.space ? " " : "";
}

void writeInteger(const kxFormatConversion& conversion, const kxFormatSpec& spec, std::string_view prefix,
                  std::uint64_t value, kxFormatOutput& output)
{
    char digits[kIntegerRoom];
    const kxDigitCase digitCase = conversion.letter <= 'Z' ? KX_DIGITS_UPPER : KX_DIGITS_LOWER;
    const bool silent = value == 0 && spec.precision == 0;
    std::size_t length = 0;
    if (!silent && conversion.base == 10)
        length = kxUnsignedToText(digits, value);
    else if (!silent)
        length = kxUnsignedToText(digits, value, {.base = conversion.base, .digitCase = digitCase});
    const auto minimum = static_cast<std::size_t>(std::max(spec.precision, 0));
    writeNumber(spec,
                {.prefix = prefix,
                 .leadingZeros = minimum > length ? minimum - length : 0,
                 .digits = {digits, length}},
                output);
}

void writeSigned(const kxFormatConversion& conversion, const kxFormatSpec& spec, const kxArgument& argument,
                 kxFormatOutput& output)
{
    const std::int64_t value = signedOfSize(argument.toSigned(), spec.sizeBytes);
    const auto bits = static_cast<std::uint64_t>(value);
    writeInteger(conversion, spec, signOf(spec, value < 0), value < 0 ? ~bits + 1 : bits, output);
}

void writeUnsigned(const kxFormatConversion& conversion, const kxFormatSpec& spec, const kxArgument& argument,
                   kxFormatOutput& output)
{
    const std::uint64_t value = unsignedOfSize(argument.toUnsigned(), spec.sizeBytes);
    writeInteger(conversion, spec, spec.alternate && value != 0 ? conversion.prefix : "", value, output);
}

// More than these a double does not tell; zeros follow.
constexpr std::int32_t kMaximumSignificant = 17;

// The leading digits of a value: an integer of `count` digits, the first of which counts 10 to the exponent.
struct Significant {
    std::uint64_t digits;
    std::int32_t count;
    std::int32_t exponent;
};

// The text of kxDtoA with its sign apart, and the zeros that follow what it can give.
class Digits {
public:
    Digits(double value, std::int32_t decimals)
        : zeros_(static_cast<std::size_t>(std::max(decimals - KX_DTOA_MAX_DECIMALS, 0)))
    {
        const auto given =
            static_cast<std::int16_t>(std::clamp<std::int32_t>(decimals, -1, KX_DTOA_MAX_DECIMALS));
        kxDtoA(text_, value, given, &length_);
    }
    // With the point behind `whole` digits, or zeros before them when it is not above 0.
    Digits(bool negative, const Significant& value, std::int32_t whole, std::int32_t decimals)
        : zeros_(static_cast<std::size_t>(decimals - std::max(value.count - whole, 0)))
    {
        if (negative) text_[length_++] = '-';
        append(whole > 0 ? 0 : 1 - whole, '0');
        const std::uint32_t first = length_;
        appendDigits(value.digits);
        append(whole - value.count, '0');
        if (decimals > 0) insertPoint(whole > 0 ? first + static_cast<std::uint32_t>(whole) : negative + 1U);
    }

    bool isNegative() const noexcept { return length_ != 0 && text_[0] == '-'; }
    std::size_t zeros() const noexcept { return zeros_; }
    std::string_view view() const noexcept
    {
        return std::string_view(text_, length_).substr(isNegative() ? 1 : 0);
    }
    // Without the zeros that end the decimals, and without a point that then ends the text.
    void dropZeros() noexcept
    {
        zeros_ = 0;
        if (view().find('.') == std::string_view::npos) return;
        while (text_[length_ - 1] == '0') --length_;
        if (text_[length_ - 1] == '.') --length_;
    }
    void appendPoint() noexcept
    {
        if (view().find('.') == std::string_view::npos) text_[length_++] = '.';
    }

private:
    void append(std::int32_t count, char character) noexcept
    {
        for (; count > 0; --count) text_[length_++] = character;
    }
    // In two halves, since a double holds no integer of so many digits.
    void appendDigits(std::uint64_t digits)
    {
        constexpr std::uint64_t kHalf = 1000000000;
        std::uint32_t length = 0;
        if (digits >= kHalf) {
            kxDtoA(text_ + length_, static_cast<double>(digits / kHalf), 0, &length);
            length_ += length;
            // The one that keeps the zeros after it is overwritten.
            const char last = text_[length_ - 1];
            kxDtoA(text_ + length_ - 1, static_cast<double>(kHalf + digits % kHalf), 0, &length);
            text_[length_ - 1] = last;
            length_ += length - 1;
        } else {
            kxDtoA(text_ + length_, static_cast<double>(digits), 0, &length);
            length_ += length;
        }
    }
    void insertPoint(std::uint32_t at) noexcept
    {
        std::copy_backward(text_ + at, text_ + length_, text_ + length_ + 1);
        text_[at] = '.';
        ++length_;
    }

    char text_[kxDtoARoom(KX_DTOA_MAX_DECIMALS)];
    std::uint32_t length_ = 0;
    std::size_t zeros_;
};

bool isSilent(const kxFormatSpec& spec, double value) noexcept
{
    return spec.precision == 0 && value == 0;
}

void writeDigits(const kxFormatSpec& spec, const Digits& digits, std::string_view exponent,
                 kxFormatOutput& output)
{
    writeNumber(spec,
                {.prefix = signOf(spec, digits.isNegative()),
                 .digits = digits.view(),
                 .trailingZeros = digits.zeros(),
                 .exponent = exponent},
                output);
}

void writeNoDigits(const kxFormatSpec& spec, kxFormatOutput& output)
{
    writeNumber(spec, {.prefix = signOf(spec, false)}, output);
}

void writeFixed(const kxFormatConversion&, const kxFormatSpec& spec, const kxArgument& argument,
                kxFormatOutput& output)
{
    const double value = argument.toDouble();
    if (isSilent(spec, value)) return writeNoDigits(spec, output);
    Digits digits(value, spec.precision);
    if (spec.alternate) digits.appendPoint();
    writeDigits(spec, digits, "", output);
}

bool isFinite(const kxArgument& argument)
{
    return std::isfinite(argument.toDouble());
}

bool isWithinDtoA(const kxArgument& argument)
{
    return std::fabs(argument.toDouble()) <= KX_DTOA_LARGEST;
}

// For what has no digits.
void writeSign(const kxFormatConversion&, const kxFormatSpec& spec, const kxArgument& argument,
               kxFormatOutput& output)
{
    kxFormatSpec blank = spec;
    blank.zeroPad = false;
    writeNumber(blank, {.prefix = signOf(spec, argument.toDouble() < 0)}, output);
}

// A sum that carries twice the digits of a double.
struct DoubleDouble {
    double high;
    double low;  // less than the last place of the high part
};

DoubleDouble sumOf(double high, double low) noexcept
{
    const double sum = high + low;
    return {sum, low - (sum - high)};
}

// A magnitude times a power of ten, by factors that a double holds exactly.
DoubleDouble scaled(double magnitude, std::int32_t exponent) noexcept
{
    constexpr std::int32_t kLargestExact = 22;
    DoubleDouble value{magnitude, 0};
    while (exponent != 0) {
        const std::int32_t step = std::clamp(exponent, -kLargestExact, kLargestExact);
        const double power = kxPowerOfTen(std::abs(step));
        const double product = step > 0 ? value.high * power : value.high / power;
        value = step > 0 ? sumOf(product, std::fma(value.high, power, -product) + value.low * power)
                         : sumOf(product, (std::fma(-product, power, value.high) + value.low) / power);
        exponent -= step;
    }
    return value;
}

// The nearest integer, of two the larger one.
std::uint64_t nearest(DoubleDouble value) noexcept
{
    const double whole = std::floor(value.high);
    const double rest = value.high - whole + value.low;
    const double below = std::floor(rest);
    const auto added = static_cast<std::int64_t>(below) + (rest - below >= 0.5 ? 1 : 0);
    return static_cast<std::uint64_t>(whole) + static_cast<std::uint64_t>(added);
}

// The significant digits of a finite value other than 0; they can carry into the next power of ten.
Significant significantOf(double value, std::int32_t digits) noexcept
{
    Significant result{0, std::min(digits, kMaximumSignificant), 0};
    const double magnitude = std::fabs(value);
    const auto smallest = static_cast<std::uint64_t>(kxPowerOfTen(result.count - 1));
    result.exponent = static_cast<std::int32_t>(std::floor(std::log10(magnitude)));
    while (true) {
        result.digits = nearest(scaled(magnitude, result.count - 1 - result.exponent));
        if (result.digits < smallest)
            --result.exponent;
        else if (result.digits >= 10 * smallest)
            ++result.exponent;
        else
            return result;
    }
}

// "e", a sign and at least two digits.
std::size_t exponentText(char* text, std::int32_t exponent) noexcept
{
    text[0] = 'e';
    text[1] = exponent < 0 ? '-' : '+';
    return 2 + kxIntegerToText(text + 2, std::abs(exponent), {.minimumDigits = 2});
}

void writeScaled(const kxFormatSpec& spec, std::int32_t exponent, const Digits& digits,
                 kxFormatOutput& output)
{
    char text[16];
    writeDigits(spec, digits, {text, exponentText(text, exponent)}, output);
}

void writeExponent(const kxFormatConversion&, const kxFormatSpec& spec, const kxArgument& argument,
                   kxFormatOutput& output)
{
    const double value = argument.toDouble();
    if (isSilent(spec, value)) return writeNoDigits(spec, output);
    const std::int32_t decimals = spec.precision >= 0 ? spec.precision : kDefaultPrecision;
    const Significant rounded = value != 0 ? significantOf(value, decimals + 1) : Significant{};
    Digits digits = value != 0 ? Digits(value < 0, rounded, 1, decimals) : Digits(value, decimals);
    if (spec.alternate) digits.appendPoint();
    writeScaled(spec, rounded.exponent, digits, output);
}

// The form that suits the size: plain digits for exponents from -4 up to the significant digits.
void writeGeneral(const kxFormatConversion&, const kxFormatSpec& spec, const kxArgument& argument,
                  kxFormatOutput& output)
{
    const double value = argument.toDouble();
    if (isSilent(spec, value)) return writeNoDigits(spec, output);
    const std::int32_t significant = spec.precision >= 0 ? std::max(spec.precision, 1) : kDefaultPrecision;
    const Significant rounded = value != 0 ? significantOf(value, significant) : Significant{};
    const bool plain =
        std::fabs(value) <= KX_DTOA_LARGEST && rounded.exponent >= -4 && rounded.exponent < significant;
    const std::int32_t whole = plain ? rounded.exponent + 1 : 1;
    // Integers so large that they have no fraction are written as they are, digit for digit.
    const bool isWhole = plain && whole >= kMaximumSignificant;
    Digits digits = value != 0 && !isWhole ? Digits(value < 0, rounded, whole, significant - whole)
                                           : Digits(value, significant - whole);
    if (!spec.alternate)
        digits.dropZeros();
    else
        digits.appendPoint();
    if (plain) return writeDigits(spec, digits, "", output);
    writeScaled(spec, rounded.exponent, digits, output);
}

constexpr kxFormatConversion kConversions[] = {
    // Text
    {'c', writeCharacter, 0, "", isCodePoint, KX_FORMAT_FAULT_CODE_POINT, writeBlanks},
    {'s', writeNarrow, 0, "", hasText, KX_FORMAT_FAULT_TEXT},
    {'S', writeWide, 0, "", hasWideText, KX_FORMAT_FAULT_WIDE_TEXT},
    // Integers
    {'d', writeSigned, 10, ""},
    {'u', writeUnsigned, 10, ""},
    {'x', writeUnsigned, 16, "0x"},
    {'X', writeUnsigned, 16, "0X"},
    {'o', writeUnsigned, 8, "0"},
    {'O', writeUnsigned, 8, "0"},
    {'b', writeUnsigned, 2, "0b"},
    {'B', writeUnsigned, 2, "0B"},
    // Floating values
    {'f', writeFixed, 0, "", isWithinDtoA, KX_FORMAT_FAULT_NUMBER, writeSign},
    {'e', writeExponent, 0, "", isFinite, KX_FORMAT_FAULT_NUMBER, writeSign},
    {'g', writeGeneral, 0, "", isFinite, KX_FORMAT_FAULT_NUMBER, writeSign},
};

constexpr std::uint8_t kNone = 0xFF;

constexpr auto kRowOfLetter = [] {
    std::array<std::uint8_t, 128> rows{};
    rows.fill(kNone);
    for (std::uint8_t i = 0; i < std::size(kConversions); ++i)
        rows[static_cast<std::size_t>(kConversions[i].letter)] = i;
    return rows;
}();

}  // namespace

const kxFormatConversion* kxFindFormatConversion(unsigned char letter) noexcept
{
    const std::uint8_t row = letter < kRowOfLetter.size() ? kRowOfLetter[letter] : kNone;
    return row != kNone ? &kConversions[row] : nullptr;
}
