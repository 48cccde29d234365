// Lock that many readers share or one thread holds for writing, recursively in both cases. The writer may
// read as well; a reader must not ask to write.
//
// Threads: every operation may be called from any thread. A forked child finds the lock as kxSemaphore does; what
//          the thread that forks held for writing it must give back there before it asks again, since its id is
//          another one.
#pragma once

#include "kxbase/thread/kxSemaphore.h"

class kxReadWriteMutex : public kxSemaphore {
public:
    using kxSemaphore::kxSemaphore;

    void readLock();
    void writeLock();
    void unlock() { release(); }
};
