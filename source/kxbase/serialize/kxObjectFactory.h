// The process-wide registry of classes whose objects can be made by number, as streams of objects need it.
//
// Ownership: refers to the factories, which must be removed before they go; kxObjectFactoryOf does so by itself.
// Threads:   any. One recursive mutex is held while a factory makes its object, so that a factory that has been
//            removed is not running any more; the factory itself may make objects of other numbers meanwhile. A
//            second one guards the table, for the moments in which it is looked at or changed: a fork waits for
//            that one alone, and a forked child finds the registry free, whatever other threads were making.
// Errors:    a failed allocation is reported, under no lock, throws std::bad_alloc and adds nothing. Usable before
//            main and after it.
#pragma once

#include "kxbase/serialize/kxObjectFactoryInterface.h"

class kxObjectFactory {
public:
    // False, and nothing changed, when the number is taken.
    static bool add(std::uint32_t factoryId, kxObjectFactoryInterface& factory);
    // False when the number is not this factory's.
    static bool remove(std::uint32_t factoryId, kxObjectFactoryInterface& factory);

    // A new object, or null when its factory makes none; when the number has no factory, null and the Warning
    // "Factory Object Id '%d' not registered".
    static kxRefPointer<kxReference> create(std::uint32_t factoryId);
};
