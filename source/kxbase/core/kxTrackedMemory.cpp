#include "kxbase/core/kxTrackedMemory.h"

#include "kxbase/core/kxMessage.h"

#include <cstdlib>

void* kxTrackedAllocate(std::size_t sizeBytes, const char* file, std::uint32_t line)
{
    return kxTrackedReallocate(nullptr, sizeBytes, file, line);
}

void* kxTrackedReallocate(void* block, std::size_t sizeBytes, const char* file, std::uint32_t line)
{
    void* const grown = std::realloc(block, sizeBytes != 0 ? sizeBytes : 1);
    if (grown == nullptr) kxThrowBadAlloc(file, line);
    return grown;
}

void kxTrackedFree(void* block) noexcept
{
    std::free(block);
}
