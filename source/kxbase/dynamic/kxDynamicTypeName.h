// The name of a type of the program, shared by the copies of a dynamic value; it never changes.
#pragma once

#include "kxbase/object/kxThreadSafeReference.h"
#include "kxbase/string/kxString.h"

class kxDynamicTypeName final : public kxThreadSafeReference {
public:
    explicit kxDynamicTypeName(const kxString& name) : text(name) {}

    const kxString text;
};
