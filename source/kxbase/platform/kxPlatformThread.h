// Threads in the system's numbering.
#pragma once

#include <cstdint>

// The system's id of the calling thread, never 0. Kept for each thread, so that asking costs no system call;
// right in a forked child as well.
std::uint32_t kxPlatformThreadId();
// The id that the calling thread had before it forked this process; 0 for every other thread.
std::uint32_t kxPlatformThreadIdBeforeFork();

// Sleeps at least the given time; signals do not cut it short.
void kxPlatformSleep(std::uint32_t milliseconds);

// What a process-wide object does around a fork, in whose child only the thread that forks goes on: `before` takes
// the object's locks, so that no other thread is in the middle of a change, and `after` gives them back, in the
// parent and in the child. Both run in the thread that forks, which keeps its id until all have run.
struct kxPlatformForkGuard {
    void (*before)();
    void (*after)();
    kxPlatformForkGuard* next = nullptr;  // the platform's own
};
// Puts the guard in force until the process ends. The locks of different guards must never be held together.
void kxPlatformAddForkGuard(kxPlatformForkGuard& guard);
