// A value with the time at which it held. As bytes: the value as kxSerializeDynamicType has it, then the time as a
// double.
//
// Threads: a plain value.
// Errors:  a value of another type than "ttag" is fatal. Broken bytes give "void" at time 0, and the Warning
//          "Corrupt Stream in kxDynamicTypeTimeTagged!!".
// Units:   the time is in seconds, of the clock that the user chooses.
#pragma once

#include "kxbase/dynamic/kxDynamicType.h"

class kxDynamicTypeTimeTagged {
public:
    kxDynamicTypeTimeTagged(kxDynamicType value, double timeSeconds)
        : value_(std::move(value)), timeSeconds_(timeSeconds)
    {}
    explicit kxDynamicTypeTimeTagged(const kxDynamicType& value);
    operator kxDynamicType() const;

    const kxDynamicType& getValue() const noexcept { return value_; }
    double getTime() const noexcept { return timeSeconds_; }

private:
    kxDynamicType value_;
    double timeSeconds_ = 0;
};
