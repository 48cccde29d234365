// Lock that many readers share or one thread holds for writing, recursively in both cases. The writer may
// read as well; a reader must not ask to write.
//
// Threads: every operation may be called from any thread.
#pragma once

#include "kxbase/thread/kxSemaphore.h"

class kxReadWriteMutex : public kxSemaphore {
public:
    using kxSemaphore::kxSemaphore;

    void readLock();
    void writeLock();
    void unlock() { release(); }
};
