// Holds a kxMutex for the lifetime of the guard.
#pragma once

#include "kxbase/core/kxMutex.h"

class kxBodyGuard {
public:
    explicit kxBodyGuard(kxMutex& mutex) : mutex_(mutex) { mutex_.lock(); }
    ~kxBodyGuard() { mutex_.unlock(); }
    kxBodyGuard(const kxBodyGuard&) = delete;
    kxBodyGuard& operator=(const kxBodyGuard&) = delete;

private:
    kxMutex& mutex_;
};
