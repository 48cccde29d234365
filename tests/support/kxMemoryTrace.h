// The trace of the memory check, while it lives.
#pragma once

#include "kxbase/core/kxMemCheck.h"

class kxMemoryTrace {
public:
    kxMemoryTrace()
    {
        kxMemCheck::setTracking(true);
        kxMemCheck::setTrace(true);
    }
    ~kxMemoryTrace()
    {
        kxMemCheck::setTrace(false);
        kxMemCheck::setTracking(wasTracking_);
    }
    kxMemoryTrace(const kxMemoryTrace&) = delete;
    kxMemoryTrace& operator=(const kxMemoryTrace&) = delete;

private:
    const bool wasTracking_ = kxMemCheck::isTracking();
};
