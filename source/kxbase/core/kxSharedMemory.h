// Allocation base: objects of derived classes live in memory of kxTrackedAllocate, whatever alignment their class
// asks for. Arrays of them do not.
#pragma once

#include "kxbase/core/kxTrackedMemory.h"

#include <new>

class kxSharedMemory {
public:
    static void* operator new(std::size_t sizeBytes) { return kxTrackedAllocate(sizeBytes); }
    static void* operator new(std::size_t sizeBytes, std::align_val_t alignment);
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept { kxTrackedFree(block); }
    static void operator delete(void* block, std::align_val_t) noexcept;
    static void operator delete(void*, void*) noexcept {}
};
