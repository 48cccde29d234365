// Finds a decimal number at the start of a text; the one scanner behind every place that reads numbers.
//
//   number = [sign] digits ["." digits] [("e"|"E") [sign] digits]
//
// An exponent or a point that is not complete does not belong to the number. There are no hexadecimal numbers,
// no infinities and no locale; white space is not skipped.
//
// Threads: a plain value.
// Errors:  none; a length of 0 says that there is no number. A value beyond the range of a double is an
//          infinity, one too close to zero is 0.
// Units:   lengths are in bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

struct kxScannedNumber {
    std::size_t length = 0;  // bytes matched
    double value = 0;        // the double nearest to the text
    bool isWhole = false;    // neither a point nor an exponent

    bool isNumber() const noexcept { return length != 0; }
};

class kxNumberScanner {
public:
    constexpr explicit kxNumberScanner(char decimalSeparator = '.') noexcept : separator_(decimalSeparator) {}

    kxScannedNumber scan(std::string_view text) const;
    // As scan() after leading white space, which does not count for the length.
    kxScannedNumber scanPastBlanks(std::string_view text) const;
    // The integer at the start of a text after white space: exact over 64 bits when it is whole, else truncated
    // towards zero; saturated, 0 when there is no number.
    std::int64_t scanInteger(std::string_view text) const;

private:
    char separator_;
};
