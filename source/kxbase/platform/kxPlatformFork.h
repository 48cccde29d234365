// What process-wide objects do around a fork, in whose child only the thread that forks goes on.
//
// Ownership: a guard is the caller's; it is added once and must stay until the process ends.
// Threads:   any, also before main and after it.
#pragma once

// `before` takes the object's locks, so that no other thread is in the middle of a change, and `after` gives them back,
// in the parent and in the child; where the child needs something else, `afterInChild` says what. All run in the thread
// that forks, which keeps its id until all have run.
struct kxPlatformForkGuard {
    void (*before)();
    void (*after)();
    void (*afterInChild)() = after;
    // Its locks may be taken while those of others are held: they come after all others.
    bool isInnermost = false;
    kxPlatformForkGuard* next = nullptr;  // the platform's own
};

// Puts the guard in force until the process ends. The locks of different guards must never be held
// together, unless the inner ones are of guards that say so.
void kxPlatformAddForkGuard(kxPlatformForkGuard& guard);
