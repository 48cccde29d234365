#include "kxbase/core/kxTrackedMemory.h"

#include "kxbase/core/kxMemCheck.h"
#include "kxbase/core/kxMessage.h"

#include <cstdlib>

void* kxTrackedAllocate(std::size_t sizeBytes, const char* file, std::uint32_t line)
{
    void* const block = kxMemCheck::hasNoDetour() ? std::malloc(kxMemCheck::roomFor(sizeBytes))
                                                  : kxMemCheck::allocate(sizeBytes);
    if (block == nullptr) kxThrowBadAlloc(file, line);
    return block;
}

void* kxTrackedReallocate(void* block, std::size_t sizeBytes, const char* file, std::uint32_t line)
{
    void* const grown = kxMemCheck::hasNoDetour() ? std::realloc(block, kxMemCheck::roomFor(sizeBytes))
                                                  : kxMemCheck::reallocate(block, sizeBytes);
    if (grown == nullptr) kxThrowBadAlloc(file, line);
    return grown;
}

void kxTrackedFree(void* block) noexcept
{
    if (kxMemCheck::hasNoDetour())
        std::free(block);
    else
        kxMemCheck::free(block);
}
