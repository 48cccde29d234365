// A dynamic value of a type of the program: a name, and anything that can be put on an adapter as its bytes.
//
// Ownership: owns its bytes.
// Threads:   a plain value.
// Errors:    a value of another type than the wanted one is fatal.
#pragma once

#include "kxbase/core/kxSerializeData.h"
#include "kxbase/dynamic/kxDynamicType.h"

class kxDynamicTypeCustom {
public:
    // The name ends at its first zero byte.
    kxDynamicTypeCustom(const kxString& typeName, const kxSerializeData& data);
    kxDynamicTypeCustom(const kxDynamicType& value, const kxString& typeName);
    operator const kxDynamicType&() const noexcept { return value_; }

    // Reads the data from the bytes. False when these were too few; the data then holds what it could read, and
    // the Warning "Corrupt Stream in kxDynamicTypeCustom!!" is sent.
    bool read(kxSerializeData& data) const;

private:
    kxDynamicType value_;
};
