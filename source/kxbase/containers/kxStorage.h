// Where a container takes its memory from.
//
// Threads: every function may be called from any thread.
// Errors:  a failed allocation reports "Bad Alloc:" and throws std::bad_alloc; kxQuietStorage reports nothing.
#pragma once

#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxTrackedMemory.h"

#include <cstddef>
#include <cstdlib>
#include <new>

// The library's own allocations, the rule.
struct kxTrackedStorage {
    static void* allocate(std::size_t sizeBytes) { return kxTrackedAllocate(sizeBytes); }
    static void free(void* block) noexcept { kxTrackedFree(block); }
};

// Bare memory of the C library for tables that are changed under a lock, under which nothing may be sent. Whoever
// holds the lock reports a failure once it is free again.
struct kxQuietStorage {
    static void* allocate(std::size_t sizeBytes)
    {
        void* const block = std::malloc(sizeBytes);
        if (block == nullptr) throw std::bad_alloc();
        return block;
    }
    static void free(void* block) noexcept { std::free(block); }
};

// Bare memory of the C library, for process-wide objects that are never destroyed and would look like leaks among
// the library's own allocations.
struct kxUntrackedStorage {
    static void* allocate(std::size_t sizeBytes)
    {
        void* const block = std::malloc(sizeBytes);
        if (block == nullptr) kxThrowBadAlloc(__FILE__, __LINE__);
        return block;
    }
    static void free(void* block) noexcept { std::free(block); }
};
