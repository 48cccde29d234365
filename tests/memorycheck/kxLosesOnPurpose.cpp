// Loses blocks of tracked memory and frees others, at the end of the process too. Prints for each lost block its
// thread, size and address. With an argument it shows what calls do instead.
#include "kxbase/core/kxMemCheck.h"
#include "kxbase/core/kxTrackedMemory.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/string/kxString.h"

#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

void tell(const void* block, std::size_t sizeBytes)
{
    std::printf("%x %zu %zx\n", kxPlatformThreadId(), sizeBytes, reinterpret_cast<std::uintptr_t>(block));
}

void loseAtExit()
{
    tell(kxTrackedAllocate(5), 5);
}

// The others must find the memory check as if it had not been there.
void allocateLeftOut()
{
    kxMemCheck::leaveThisThreadOut();
    kxTrackedFree(kxTrackedAllocate(1));
}

// Everything by calls; the report is the first message of all. What is recorded stays so while tracking is off.
void useCalls()
{
    static constexpr kxMemoryTexts kText{"described"};
    kxMemCheck::setCompact(true);
    kxMemCheck::setTracking(true);
    void* blocks[] = {kxTrackedAllocate(10), kxTrackedAllocate(11), kxTrackedAllocate(12)};
    for (void* const block : blocks) kxMemCheck::describe(block, kText);
    kxMemCheck::setTracking(false);
    kxMemCheck::setTrace(true);
    kxTrackedFree(blocks[1]);
    blocks[2] = kxTrackedReallocate(blocks[2], 20);
    kxMemCheck::report();
    kxMemCheck::setTracking(true);
    kxTrackedFree(blocks[0]);
    kxMemCheck::setTracking(false);
}

}  // namespace

int main(int argumentCount, char**)
{
    if (argumentCount > 1) return useCalls(), 0;
    std::thread(allocateLeftOut).join();
    static const kxString held("freed when main is over");  // the first one that is tracked
    void* lost = nullptr;
    tell(lost = kxTrackedAllocate(24), 24);
    kxTrackedFree(kxTrackedAllocate(7));
    kxMemCheck::setThreadState(-7);
    tell(lost = kxTrackedAllocate(100), 100);
    static constexpr kxMemoryTexts kTexture{"texture", "kept by %s"}, kFreed{"freed"};
    kxMemCheck::describe(lost, kTexture);
    void* const freed = kxTrackedAllocate(9);
    kxMemCheck::describe(freed, kFreed);
    kxTrackedFree(freed);
    std::thread([] { tell(kxTrackedAllocate(0), 0); }).join();
    tell(lost = kxTrackedReallocate(kxTrackedAllocate(10), 3000), 3000);
    std::atexit(loseAtExit);
}
