// The adapters that exist in this process, so that one can be found again by its address.
//
// Ownership: refers to the adapters; each enters itself when it is made and leaves when it goes.
// Threads:   any; one mutex.
#pragma once

#include "kxbase/object/kxRefPointer.h"

#include <cstdint>

class kxSerializeAdapter;

class kxLivingAdapters {
public:
    // Only the base of all adapters calls these.
    static void enter(const kxSerializeAdapter* adapter);
    static void leave(const kxSerializeAdapter* adapter) noexcept;

    // The adapter at the address, or null when there is none that anybody holds a reference to.
    static kxRefPointer<kxSerializeAdapter> find(std::uint64_t address);
};
