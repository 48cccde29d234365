#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/platform/posix/kxPosixTime.h"

#include <atomic>
#include <cerrno>
#include <ctime>

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

thread_local std::uint32_t cachedThreadId = 0;

std::atomic<kxPlatformForkGuard*> forkGuards{nullptr};
// Where the list began when this thread began to fork; another thread may add to it meanwhile.
thread_local kxPlatformForkGuard* forkGuardsTaken = nullptr;

void takeForkGuards()
{
    forkGuardsTaken = forkGuards.load();
    for (const bool isInnermost : {false, true})
        for (kxPlatformForkGuard* guard = forkGuardsTaken; guard != nullptr; guard = guard->next)
            if (guard->isInnermost == isInnermost) guard->before();
}

void releaseForkGuards()
{
    for (kxPlatformForkGuard* guard = forkGuardsTaken; guard != nullptr; guard = guard->next) guard->after();
}

// The only thread of a forked child has a new id.
void releaseForkGuardsInChild()
{
    for (kxPlatformForkGuard* guard = forkGuardsTaken; guard != nullptr; guard = guard->next)
        guard->afterInChild();
    cachedThreadId = 0;
}

void watchForks()
{
    [[maybe_unused]] static const int result =
        pthread_atfork(takeForkGuards, releaseForkGuards, releaseForkGuardsInChild);
}

}  // namespace

std::uint32_t kxPlatformThreadId()
{
    if (cachedThreadId == 0) {
        watchForks();
        cachedThreadId = static_cast<std::uint32_t>(::syscall(SYS_gettid));
    }
    return cachedThreadId;
}

void kxPlatformAddForkGuard(kxPlatformForkGuard& guard)
{
    watchForks();
    guard.next = forkGuards.load();
    while (!forkGuards.compare_exchange_weak(guard.next, &guard)) {
    }
}

bool kxPlatformThreadAllowCancel(bool isAllowed)
{
    int before = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(isAllowed ? PTHREAD_CANCEL_ENABLE : PTHREAD_CANCEL_DISABLE, &before);
    return before == PTHREAD_CANCEL_ENABLE;
}

void kxPlatformSleep(std::uint32_t milliseconds)
{
    timespec left = kxPosixTimespecOf(milliseconds * KX_POSIX_NANOSECONDS_PER_MILLISECOND);
    while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}
