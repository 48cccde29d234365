// Makes objects of a class by the number under which it is registered; see kxObjectFactory.
#pragma once

#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxReference.h"

class kxObjectFactoryInterface {
public:
    virtual ~kxObjectFactoryInterface() = default;
    // A new object, or null. Called with the registry locked.
    virtual kxRefPointer<kxReference> create(std::uint32_t factoryId) = 0;
};
