// A dynamic value that is known to be none.
//
// Threads: a plain value.
// Errors:  a value of another type than "void" is fatal.
#pragma once

#include "kxbase/dynamic/kxDynamicType.h"

class kxDynamicTypeVoid {
public:
    kxDynamicTypeVoid() noexcept = default;
    explicit kxDynamicTypeVoid(const kxDynamicType& value)
    {
        value.require(KX_UNIQUE_VOID, "Can not convert dynamic argument type '%s' to kxDynamicTypeVoid !!");
    }
    operator kxDynamicType() const noexcept { return {}; }
};
