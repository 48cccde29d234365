// A lock that is not recursive, in storage of the caller.
//
// Storage of all zeros is an open lock, so that static locks need no start-up code. A lock must be released
// by the thread that acquired it, and must not be acquired twice by one thread.
#pragma once

struct kxPlatformLock {
    alignas(8) unsigned char storage[40] = {};
};

void kxPlatformLockAcquire(kxPlatformLock& lock);
bool kxPlatformLockTryAcquire(kxPlatformLock& lock);
void kxPlatformLockRelease(kxPlatformLock& lock);
void kxPlatformLockDestroy(kxPlatformLock& lock);
