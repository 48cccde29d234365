// Base of objects outside the memory check (which is kxMemCheck): made by `new` they are not recorded, so they may
// outlive the lost-memory report. What their members allocate is recorded; see kxUntrackedScope.
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
