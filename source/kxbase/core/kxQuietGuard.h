// Holds a kxMutex for the lifetime of the guard, under which tracked memory may come and go: what that makes the
// thread say is sent when the mutex is free again.
#pragma once

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxQuietScope.h"

class kxQuietGuard {
public:
    explicit kxQuietGuard(kxMutex& mutex) : guard_(mutex) {}

private:
    kxQuietScope quiet_;
    kxBodyGuard guard_;  // goes first
};
