#include "kxbase/thread/kxReadWriteMutex.h"

#include "kxbase/platform/kxPlatformThread.h"

void kxReadWriteMutex::readLock()
{
    acquireShared(kxPlatformThreadId());
}

void kxReadWriteMutex::writeLock()
{
    acquire(kxPlatformThreadId());
}
