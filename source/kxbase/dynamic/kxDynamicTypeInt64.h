// A dynamic value that is known to be a 64-bit integer.
//
// Threads: a plain value.
// Errors:  a value of another type than "llnum" is fatal, a "num" too. See kxDynamicType for too few bytes.
#pragma once

#include "kxbase/dynamic/kxDynamicType.h"

class kxDynamicTypeInt64 {
public:
    explicit kxDynamicTypeInt64(std::int64_t value) noexcept : value_(value) {}
    explicit kxDynamicTypeInt64(const kxDynamicType& value) : value_(value.toInt64()) {}
    operator kxDynamicType() const noexcept { return value_; }

    std::int64_t getValue() const noexcept { return value_; }

private:
    std::int64_t value_;
};
