// One conversion of a format text: what stands between the percent sign and the letter, and how an argument
// is written by it.
//
// Threads: plain functions.
// Errors:  an argument that is no text where text is asked is a fault. Numbers convert: what is no number is 0.
// Units:   width and precision are in characters.
#pragma once

#include "kxbase/core/kxArgument.h"
#include "kxbase/string/kxFormatFaults.h"
#include "kxbase/string/kxFormatOutput.h"

#include <cstdint>

// Widths and precisions are cut to this.
constexpr std::uint32_t KX_FORMAT_MAX_WIDTH = 65535;

struct kxFormatSpec {
    bool leftJustify = false;
    bool plus = false;
    bool zeroPad = false;
    bool space = false;
    bool alternate = false;
    std::uint8_t sizeBytes = 8;  // of an integer: 2, 4 or 8
    std::uint32_t width = 0;
    std::int32_t precision = -1;  // negative: none
    std::int32_t position = -1;   // slot of the argument; negative: the next one
};

// How one conversion letter writes.
struct kxFormatConversion {
    using Write = void (*)(const kxFormatConversion&, const kxFormatSpec&, const kxArgument&,
                           kxFormatOutput&);

    char letter;
    Write write;
    std::uint8_t base;   // of an integer
    const char* prefix;  // that the alternate form puts before an integer that is not 0
    bool (*accepts)(const kxArgument&) = nullptr;  // whether an argument can be written; null for all of them
    kxFormatFaultKind fault = KX_FORMAT_FAULT_UNKNOWN;  // of one that cannot
    Write writeRefused = nullptr;                       // what is written for it; null for nothing
};

// Null for a letter that is no conversion.
const kxFormatConversion* kxFindFormatConversion(unsigned char letter) noexcept;
