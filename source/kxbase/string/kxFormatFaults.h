// The faults of one format, told as Warnings.
//
// A format from a language file may hold tens of thousands of faults, and is as long as a text can be. So the first
// Warning of each kind is always sent, and others of that kind until they come to KX_FORMAT_MAX_WARNED_BYTES of text.
//
// Threads: one thread at a time.
// Errors:  what a receiver throws reaches the caller.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

constexpr std::size_t KX_FORMAT_MAX_WARNED_BYTES = 1024;

enum kxFormatFaultKind : std::uint8_t {
    KX_FORMAT_FAULT_POSITION,    // of an argument that cannot be
    KX_FORMAT_FAULT_UNKNOWN,     // letter; the value is the format
    KX_FORMAT_FAULT_TEXT,        // asked of an argument that has none
    KX_FORMAT_FAULT_WIDE_TEXT,   // likewise
    KX_FORMAT_FAULT_CODE_POINT,  // too large for a character
    KX_FORMAT_FAULT_NUMBER,      // too large to be written, or none
    KX_FORMAT_FAULT_KINDS
};

class kxFormatFaults {
public:
    void tell(kxFormatFaultKind kind, std::string_view value = {});

private:
    std::array<std::size_t, KX_FORMAT_FAULT_KINDS> toldBytes_{};
};
