// Anything that can name its class at run time.
#pragma once

#include "kxbase/object/kxType.h"

class kxTypeInterface {
public:
    // The descriptor of the object's class, or of its nearest ancestor that has one.
    virtual const kxType& getType() const = 0;

protected:
    constexpr kxTypeInterface() noexcept = default;
    constexpr kxTypeInterface(const kxTypeInterface&) noexcept = default;
    constexpr kxTypeInterface& operator=(const kxTypeInterface&) noexcept = default;
    ~kxTypeInterface() = default;
};
