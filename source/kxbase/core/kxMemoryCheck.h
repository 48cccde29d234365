// Base of objects that must survive until the lost-memory report, and are therefore never lost: an object made by
// `new` stays outside the memory check. What its members allocate does not; see kxUntrackedScope.
#pragma once

#include "kxbase/core/kxSharedMemory.h"
#include "kxbase/core/kxUntrackedScope.h"

class kxMemoryCheck : public kxSharedMemory {
public:
    static void* operator new(std::size_t sizeBytes)
    {
        const kxUntrackedScope scope;
        return kxSharedMemory::operator new(sizeBytes);
    }
    static void* operator new(std::size_t sizeBytes, std::align_val_t alignment)
    {
        const kxUntrackedScope scope;
        return kxSharedMemory::operator new(sizeBytes, alignment);
    }
    static void* operator new(std::size_t, void* place) noexcept { return place; }

protected:
    kxMemoryCheck() noexcept = default;
    ~kxMemoryCheck() = default;
};
