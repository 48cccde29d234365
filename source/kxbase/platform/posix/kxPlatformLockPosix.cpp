#include "kxbase/platform/kxPlatformLock.h"

#include <new>

#include <pthread.h>

namespace {

static_assert(sizeof(pthread_mutex_t) <= sizeof(kxPlatformLock) &&
              alignof(pthread_mutex_t) <= alignof(kxPlatformLock));

pthread_mutex_t* native(kxPlatformLock& lock)
{
    // All zeros is PTHREAD_MUTEX_INITIALIZER on every C library that the build supports.
    return std::launder(reinterpret_cast<pthread_mutex_t*>(lock.storage));
}

}  // namespace

void kxPlatformLockAcquire(kxPlatformLock& lock)
{
    pthread_mutex_lock(native(lock));
}

bool kxPlatformLockTryAcquire(kxPlatformLock& lock)
{
    return pthread_mutex_trylock(native(lock)) == 0;
}

void kxPlatformLockRelease(kxPlatformLock& lock)
{
    pthread_mutex_unlock(native(lock));
}

void kxPlatformLockDestroy(kxPlatformLock& lock)
{
    pthread_mutex_destroy(native(lock));
}
