// An ordered list of dynamic values, for example the arguments of a call.
//
// Ownership: owns its values.
// Threads:   a plain value.
// Errors:    an index at or beyond the count is fatal, and so is a value of another type than "array". Broken bytes
//            give the empty list and the Warning "Corrupt Stream in kxDynamicTypeArray!!".
#pragma once

#include "kxbase/dynamic/kxDynamicTypeSequence.h"

#include <initializer_list>

class kxDynamicTypeArray : public kxDynamicTypeSequence {
public:
    kxDynamicTypeArray() = default;
    explicit kxDynamicTypeArray(const kxDynamicType& value);
    // Holds the types of the values against the expected ones, in order. Fatal at the first that differs, counted
    // from 1; a value that is missing, or expected to be, counts as "void".
    void checkTypes(std::initializer_list<std::string_view> expected) const;

    operator kxDynamicType() const { return toValue(KX_UNIQUE_ARRAY); }
};
