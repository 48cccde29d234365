// A lock that is not recursive.
//
// Ownership: the caller's storage, which is neither moved nor given up while the lock is in use.
// Threads:   any, also before main and after it; not in a signal handler. A lock must be released by the thread that
//            acquired it, and must not be acquired twice by one thread.
//
// Storage of all zeros is an open lock, so that static locks need no start-up code.
#pragma once

struct kxPlatformLock {
    alignas(8) unsigned char storage[40] = {};
};

void kxPlatformLockAcquire(kxPlatformLock& lock);
bool kxPlatformLockTryAcquire(kxPlatformLock& lock);
void kxPlatformLockRelease(kxPlatformLock& lock);
void kxPlatformLockDestroy(kxPlatformLock& lock);
