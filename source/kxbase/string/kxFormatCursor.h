// Reads a format text character by character, with one step back.
//
// Ownership: refers to the caller's text.
// Threads:   one thread at a time.
// Errors:    a malformed byte is a character of its own, so that every text can be walked.
#pragma once

#include "kxbase/string/kxUtf.h"

#include <algorithm>
#include <cstring>
#include <string_view>

class kxFormatCursor {
public:
    explicit kxFormatCursor(std::string_view text) noexcept
        : at_(text.data()), last_(at_), end_(at_ + text.size())
    {}

    bool atEnd() const noexcept { return at_ == end_; }
    // At least one byte, and all further ones up to the next percent sign. Requires !atEnd().
    std::string_view takeText() noexcept
    {
        last_ = at_++;
        const void* const found = std::memchr(at_, '%', left());
        at_ = found != nullptr ? static_cast<const char*>(found) : end_;
        return {last_, static_cast<std::size_t>(at_ - last_)};
    }
    // An ASCII character, or the first byte of any other. So an overlong form is none of the characters that
    // mean something in a format. Requires !atEnd().
    unsigned char next() noexcept
    {
        last_ = at_;
        const auto byte = static_cast<unsigned char>(*at_);
        at_ += byte < 0x80 ? 1U : std::max(kxUtfPeek({at_, left()}).length, 1U);
        return byte;
    }
    // Gives the character that next() returned last back.
    void unget() noexcept { at_ = last_; }
    // Takes what comes next when it is the given text.
    bool skip(std::string_view text) noexcept
    {
        if (!std::string_view(at_, left()).starts_with(text)) return false;
        last_ = at_;
        at_ += text.size();
        return true;
    }

private:
    std::size_t left() const noexcept { return static_cast<std::size_t>(end_ - at_); }

    const char* at_;
    const char* last_;  // start of what was read last
    const char* end_;
};
