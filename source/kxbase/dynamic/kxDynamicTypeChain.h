// A chain of dynamic values: an ordered list under a type name of its own.
//
// Ownership: owns its values.
// Threads:   a plain value.
// Errors:    an index at or beyond the count is fatal, and so is a value of another type than "chain". Broken bytes
//            give the empty list and the Warning "Corrupt Stream in kxDynamicTypeChain!!".
#pragma once

#include "kxbase/dynamic/kxDynamicTypeSequence.h"

class kxDynamicTypeChain : public kxDynamicTypeSequence {
public:
    kxDynamicTypeChain() = default;
    explicit kxDynamicTypeChain(const kxDynamicType& value);
    operator kxDynamicType() const { return toValue(KX_UNIQUE_CHAIN); }
};
