#include "kxbase/platform/kxPlatformFork.h"
#include "kxbase/platform/posix/kxPosixFork.h"

#include <atomic>

#include <pthread.h>

namespace {

constinit std::atomic<kxPlatformForkGuard*> guards{nullptr};
constinit std::atomic<void (*)()> lastInChild{nullptr};

// Where the list began when this thread began to fork; another thread may add to it meanwhile.
thread_local kxPlatformForkGuard* guardsTaken = nullptr;

void takeGuards()
{
    guardsTaken = guards.load();
    for (const bool isInnermost : {false, true})
        for (kxPlatformForkGuard* guard = guardsTaken; guard != nullptr; guard = guard->next)
            if (guard->isInnermost == isInnermost) guard->before();
}

void releaseGuards()
{
    for (kxPlatformForkGuard* guard = guardsTaken; guard != nullptr; guard = guard->next) guard->after();
}

void releaseGuardsInChild()
{
    for (kxPlatformForkGuard* guard = guardsTaken; guard != nullptr; guard = guard->next)
        guard->afterInChild();
    if (void (*const last)() = lastInChild.load()) last();
}

void watchForks()
{
    [[maybe_unused]] static const int result =
        pthread_atfork(takeGuards, releaseGuards, releaseGuardsInChild);
}

}  // namespace

void kxPlatformAddForkGuard(kxPlatformForkGuard& guard)
{
    watchForks();
    guard.next = guards.load();
    while (!guards.compare_exchange_weak(guard.next, &guard)) {
    }
}

void kxPosixAtEndOfForkInChild(void (*last)())
{
    watchForks();
    lastInChild.store(last);
}
