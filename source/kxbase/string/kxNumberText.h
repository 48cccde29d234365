// Numbers to text in a caller's buffer, independent of the locale.
//
// Ownership: writes into the caller's buffer, which must have the room named at each function.
// Threads:   plain functions.
// Errors:    a base outside 2 to 62 gives the empty text; a number too large for kxDtoA sends an Internal
//            Warning and gives at most its sign.
// Units:     lengths are in characters, without the terminating zero.
#pragma once

#include "kxbase/string/kxPowerOfTen.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

// Which letters follow the digit 9; the other case follows in bases above 36.
enum kxDigitCase : std::uint8_t { KX_DIGITS_LOWER, KX_DIGITS_UPPER };

struct kxIntegerStyle {
    std::uint32_t base = 10;
    std::uint32_t minimumDigits = 0;  // filled up with '0'; the sign does not count
    kxDigitCase digitCase = KX_DIGITS_LOWER;
};

// Length of the text of an integer.
std::size_t kxIntegerTextLength(std::int64_t value, const kxIntegerStyle& style = {}) noexcept;
std::size_t kxUnsignedTextLength(std::uint64_t value, const kxIntegerStyle& style = {}) noexcept;

// Writes an integer and a terminating zero; returns the length. The buffer needs the length above and one. The
// functions without a style write decimal digits.
std::size_t kxIntegerToText(char* text, std::int64_t value) noexcept;
std::size_t kxIntegerToText(char16_t* text, std::int64_t value) noexcept;
std::size_t kxIntegerToText(char* text, std::int64_t value, const kxIntegerStyle& style) noexcept;
std::size_t kxIntegerToText(char16_t* text, std::int64_t value, const kxIntegerStyle& style) noexcept;
std::size_t kxUnsignedToText(char* text, std::uint64_t value) noexcept;
std::size_t kxUnsignedToText(char16_t* text, std::uint64_t value) noexcept;
std::size_t kxUnsignedToText(char* text, std::uint64_t value, const kxIntegerStyle& style) noexcept;
std::size_t kxUnsignedToText(char16_t* text, std::uint64_t value, const kxIntegerStyle& style) noexcept;

// The largest magnitude that kxDtoA writes, 2 to the power of 64, and the Internal Warning about what is no number or
// above it.
constexpr double KX_DTOA_LARGEST = 18446744073709551616.0;
constexpr std::string_view KX_DTOA_TOO_LARGE = "Too large number for kxDtoA";
// Maximum width that formatting and the strings made from numbers use.
constexpr std::uint16_t KX_DTOA_WIDTH = 20;
// Decimals beyond this many are zeros.
constexpr std::int16_t KX_DTOA_MAX_DECIMALS = KX_POWER_OF_TEN_MAX;

// Room that kxDtoA may need: sign, integer digits, point, decimals and the terminating zero.
constexpr std::size_t kxDtoARoom(std::int16_t decimals, std::uint16_t maximumWidth = KX_DTOA_WIDTH) noexcept
{
    return 24U + (decimals >= 0 ? static_cast<std::size_t>(decimals) : maximumWidth);
}

// Writes a floating value and a terminating zero. Decimals at or above 0 are written all, after half a unit of
// the last one was added; the sum is a double, so that a tie such as 2.25 with one decimal may fall to either
// side. With negative decimals the digits end where only the noise of the binary form is left, and at the
// maximum width at the latest. Magnitudes up to KX_DTOA_LARGEST; larger ones and what is no number send
// KX_DTOA_TOO_LARGE.
void kxDtoA(char16_t* text, double value, std::int16_t decimals, std::uint32_t* length = nullptr,
            std::uint16_t maximumWidth = KX_DTOA_WIDTH);
void kxDtoA(char* text, double value, std::int16_t decimals, std::uint32_t* length = nullptr,
            std::uint16_t maximumWidth = KX_DTOA_WIDTH);
