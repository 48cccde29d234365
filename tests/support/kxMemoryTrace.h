// The trace of the memory check, while it lives.
#pragma once

#include "kxbase/core/kxMemCheck.h"

struct kxMemoryTrace {
    kxMemoryTrace() { kxMemCheck::setTracking(true), kxMemCheck::setTrace(true); }
    ~kxMemoryTrace() { kxMemCheck::setTrace(false), kxMemCheck::setTracking(wasTracking); }

    const bool wasTracking = kxMemCheck::isTracking();
};
