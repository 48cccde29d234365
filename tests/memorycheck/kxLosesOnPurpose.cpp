// Loses blocks of tracked memory and frees others, at the end of the process too. Prints for each lost block its
// thread, size and address. With an argument, has an allocator of its own and prints what that was asked for.
#include "kxbase/core/kxMemCheck.h"
#include "kxbase/core/kxTrackedMemory.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/string/kxString.h"

#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

struct CountingAllocator final : kxMemoryAllocatorInterface {
    std::size_t largestBytes = 0;
    int blocks = 0;

    void* allocate(std::size_t sizeBytes) noexcept override
    {
        ++blocks;
        if (sizeBytes > largestBytes) largestBytes = sizeBytes;
        return std::malloc(sizeBytes);
    }
    void* reallocate(void* block, std::size_t sizeBytes) noexcept override
    {
        return std::realloc(block, sizeBytes);
    }
    void free(void* block) noexcept override
    {
        if (block != nullptr) --blocks;
        std::free(block);
    }
};
CountingAllocator counting;

void tell(const void* block, std::size_t sizeBytes)
{
    std::printf("%x %zu %zx\n", kxPlatformThreadId(), sizeBytes, reinterpret_cast<std::uintptr_t>(block));
}

void loseAtExit()
{
    tell(kxTrackedAllocate(5), 5);
}

}  // namespace

int main(int argumentCount, char**)
{
    const bool isCounting = argumentCount > 1;
    const bool isInstalled = isCounting && kxMemCheck::setAllocator(counting);
    void* lost = nullptr;
    static const kxString held("freed when main is over");  // the first one that is tracked
    if (isCounting) {
        kxTrackedFree(kxTrackedAllocate(1));
        std::printf("%d %d %zu %d\n", isInstalled, counting.blocks, counting.largestBytes,
                    kxMemCheck::setAllocator(counting));
        return 0;
    }
    tell(lost = kxTrackedAllocate(24), 24);
    kxTrackedFree(kxTrackedAllocate(7));
    kxMemCheck::setThreadState(-7);
    tell(lost = kxTrackedAllocate(100), 100);
    kxMemCheck::describe(lost, "texture", "kept by %s");
    void* const freed = kxTrackedAllocate(9);
    kxMemCheck::describe(freed, "freed");
    kxTrackedFree(freed);
    std::thread([] { tell(kxTrackedAllocate(0), 0); }).join();
    tell(lost = kxTrackedReallocate(kxTrackedAllocate(10), 3000), 3000);
    std::atexit(loseAtExit);
}
