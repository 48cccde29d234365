// An error as a value: a number and a text. As bytes: four for the number, then the text with a zero byte behind it.
//
// Threads: a plain value.
// Errors:  a value of another type than "error" is fatal. Broken bytes give 0 and no text, and the Warning
//          "Corrupt Stream in kxDynamicTypeError!!". A text that is too long for a kxString is cut as one.
#pragma once

#include "kxbase/dynamic/kxDynamicType.h"

class kxDynamicTypeError {
public:
    // The text ends at its first zero byte.
    explicit kxDynamicTypeError(std::int32_t code = 0, const kxString& text = {})
        : code_(code), text_(text.text())
    {}
    explicit kxDynamicTypeError(const kxDynamicType& value);
    operator kxDynamicType() const;

    std::int32_t getCode() const noexcept { return code_; }
    const kxString& getText() const noexcept { return text_; }

private:
    std::int32_t code_ = 0;
    kxString text_;
};
