// Where tracked memory comes from, for programs that have an allocator of their own; see kxMemCheck::setAllocator.
//
// Ownership: must outlive every block, so it is never destroyed as a rule.
// Threads:   called from any thread, also before main and after it. No lock of the library is held.
// Errors:    null when memory is short, reported by the caller; nothing is thrown.
#pragma once

#include <cstddef>

class kxMemoryAllocatorInterface {
public:
    // A block for every fundamental type; the size is not 0.
    virtual void* allocate(std::size_t sizeBytes) noexcept = 0;
    // Keeps the bytes that both sizes share; the block may be null, and stays as it is when null is answered.
    virtual void* reallocate(void* block, std::size_t sizeBytes) noexcept = 0;
    // The block may be null.
    virtual void free(void* block) noexcept = 0;

protected:
    ~kxMemoryAllocatorInterface() = default;
};
