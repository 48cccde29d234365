// Builds a text from a format text and up to sixteen arguments, in the manner of printf.
//
//   %[n$][flags][width][.precision][size]letter
//
//   n$          the argument by its number, 1 to 16; "*$" takes the number from the next argument
//   flags       - left-justify, + sign always, 0 zeros before a number, blank before what is not negative,
//               # alternate form (0x, 0, 0b before an integer that is not 0)
//   width       least number of characters, or * for the next argument (negative: left-justify)
//   precision   least number of digits of an integer, decimals of f and e, significant digits of g, most
//               characters of a text; or * for the next argument
//   size        h 2 bytes, l 4 bytes, ll 8 bytes; an integer has 8 bytes without it
//   letter      c s S d u x X o O b B f e g
//
// A precision of 0 with the value 0 gives no digits. f without precision writes as many decimals as the value
// has; e and g have six, and write up to 17 significant digits of the value, rounded with ties away from zero, and
// zeros behind them. Text that is no conversion is copied as it is.
//
// NaN and infinities have no digits: f, e and g send the Internal Warning "Too large number for kxDtoA" and write
// the sign alone ('-' for minus infinity, else what the flags ask for), with blanks up to the width. So does f
// for a magnitude above 2^64, which e and g write. For a code point above KX_UTF_MAX_CODE_POINT, c writes blanks.
//
// The grammar stands in kxFormatTable.h. A letter is a row of kConversions in kxFormatConversion.cpp, which
// names the function that writes it.
//
// Ownership: refers to the caller's text and arguments.
// Threads:   no state outside the object; a fault found here may be formatted by another one meanwhile.
// Errors:    faults in the format are Warnings, and the text is built from all that can be converted;
//            kxFormatFaults tells how many of them are sent.
#pragma once

#include "kxbase/core/kxArgumentView.h"
#include "kxbase/string/kxFormatConversion.h"
#include "kxbase/string/kxFormatCursor.h"
#include "kxbase/string/kxFormatFaults.h"
#include "kxbase/string/kxFormatOutput.h"

#include <string_view>

namespace kxFormatTable {
enum Action : std::uint8_t;
}

class kxFormatter {
public:
    kxFormatter(std::string_view format, kxArgumentView arguments) noexcept
        : format_(format), cursor_(format), arguments_(arguments)
    {}

    // Formats once; what it answers refers to the formatter.
    std::string_view run();

private:
    void perform(kxFormatTable::Action action, unsigned char character);
    void copyText();
    void setPosition(std::int64_t number) noexcept;
    void setWidth(std::int64_t width) noexcept;
    void setPrecision(std::int64_t precision) noexcept;
    void convert(unsigned char letter);
    const kxArgument& nextArgument() noexcept;

    std::string_view format_;
    kxFormatCursor cursor_;
    kxArgumentView arguments_;
    std::uint32_t nextSlot_ = 0;
    std::uint32_t number_ = 0;    // digits read so far
    std::int64_t starValue_ = 0;  // of a '*' that may be a width or a position
    kxFormatSpec spec_;
    kxFormatFaults faults_;
    kxFormatOutput output_;
};
