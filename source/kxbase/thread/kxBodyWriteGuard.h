// Holds a kxReadWriteMutex for writing for the lifetime of the guard.
#pragma once

#include "kxbase/thread/kxReadWriteMutex.h"

class kxBodyWriteGuard {
public:
    explicit kxBodyWriteGuard(kxReadWriteMutex& mutex) : mutex_(mutex) { mutex_.writeLock(); }
    ~kxBodyWriteGuard() { mutex_.unlock(); }
    kxBodyWriteGuard(const kxBodyWriteGuard&) = delete;
    kxBodyWriteGuard& operator=(const kxBodyWriteGuard&) = delete;

private:
    kxReadWriteMutex& mutex_;
};
