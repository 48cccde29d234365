#include "kxbase/core/kxProcessOnce.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxForkCount.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/platform/kxPlatformWait.h"

namespace {

constexpr std::uint32_t kLongestWaitMilliseconds = 1000;

thread_local bool isAboutIt = false;  // also in the child of a fork

}  // namespace

bool kxProcessOnce::tryBegin()
{
    if (isAboutIt) return false;
    const std::uint32_t forks = kxForkCount();
    const kxBodyGuard guard(kxProcessMutex<kxProcessOnce>());
    const std::uint32_t progress = progress_.load();
    if (progress == DONE || (progress == BEGUN && forksBefore_ == forks)) return false;
    progress_.store(BEGUN);
    forksBefore_ = forks;
    isSlow_.store(false);  // of a thread that a forked child does not have
    isAboutIt = true;
    return true;
}

void kxProcessOnce::waitForEnd()
{
    if (isAboutIt || isSlow_.load()) return;
    if (!kxPlatformWaitWhile(progress_, BEGUN, kLongestWaitMilliseconds)) isSlow_.store(true);
}

void kxProcessOnce::end()
{
    isAboutIt = false;
    progress_.store(DONE);
    kxPlatformWakeAll(progress_);
}
