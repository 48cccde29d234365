// The library's own allocations: string buffers, type names, counted objects, container storage. The blocks are
// those of the C library, or of the allocator that the program has installed, aligned for every fundamental type.
// kxMemCheck keeps account of them while it is on.
//
// Ownership: a block belongs to the caller until it is given to kxTrackedFree.
// Threads:   every function may be called from any thread, also before main and after it.
// Errors:    when memory is short, "Bad Alloc:" is reported with the caller's position and std::bad_alloc
//            is thrown; a failed reallocation leaves the old block as it was.
// Units:     sizes are in bytes; a size of 0 gives a block that may be freed but not used.
#pragma once

#include <cstddef>
#include <cstdint>

[[nodiscard]] void* kxTrackedAllocate(std::size_t sizeBytes, const char* file = __builtin_FILE(),
                                      std::uint32_t line = __builtin_LINE());

// Grows or shrinks a block, keeping the bytes that both sizes share; a null block is a new one.
[[nodiscard]] void* kxTrackedReallocate(void* block, std::size_t sizeBytes,
                                        const char* file = __builtin_FILE(),
                                        std::uint32_t line = __builtin_LINE());

void kxTrackedFree(void* block) noexcept;
