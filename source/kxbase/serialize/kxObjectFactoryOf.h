// The factory of a class that can be made without arguments, registered for as long as it lives. One static object
// beside the class is enough:
//
//   static kxObjectFactoryOf<Shape> shapeFactory(kShapeId);
//
// A linker takes an object file out of a static library only when something refers to it: a file that holds nothing
// else in use is left out, and its factory with it.
//
// Threads: see kxObjectFactory.
// Errors:  a number that is taken is fatal.
#pragma once

#include "kxbase/core/kxMessage.h"
#include "kxbase/serialize/kxObjectFactory.h"

template <typename T> class kxObjectFactoryOf final : public kxObjectFactoryInterface {
public:
    explicit kxObjectFactoryOf(std::uint32_t factoryId) : factoryId_(factoryId)
    {
        if (!kxObjectFactory::add(factoryId, *this))
            kxRaiseFatal("Factory Object Id '%d' already registered", factoryId);
    }
    ~kxObjectFactoryOf() override { kxObjectFactory::remove(factoryId_, *this); }
    kxObjectFactoryOf(const kxObjectFactoryOf&) = delete;
    kxObjectFactoryOf& operator=(const kxObjectFactoryOf&) = delete;

    kxRefPointer<kxReference> create(std::uint32_t) override { return kxMakeRef<T>(); }

private:
    const std::uint32_t factoryId_;
};
