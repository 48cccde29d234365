// Holds a kxReadWriteMutex for reading for the lifetime of the guard.
#pragma once

#include "kxbase/thread/kxReadWriteMutex.h"

class kxBodyReadGuard {
public:
    explicit kxBodyReadGuard(kxReadWriteMutex& mutex) : mutex_(mutex) { mutex_.readLock(); }
    ~kxBodyReadGuard() { mutex_.unlock(); }
    kxBodyReadGuard(const kxBodyReadGuard&) = delete;
    kxBodyReadGuard& operator=(const kxBodyReadGuard&) = delete;

private:
    kxReadWriteMutex& mutex_;
};
