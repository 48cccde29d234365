// The mutex of a process-wide object, named by a type: never destroyed, and free in a forked child.
//
// Threads: may be called from any thread, also before main and after it. Mutexes of two names must never be held
//          together.
#pragma once

#include "kxbase/core/kxForkGuard.h"
#include "kxbase/core/kxMutex.h"
#include "kxbase/core/kxUndestroyed.h"

template <typename Name> kxMutex& kxProcessMutex()
{
    static constinit kxUndestroyed<kxMutex> mutex;
    static const kxForkGuard guard({[] { mutex.value.lock(); }, [] { mutex.value.unlock(); }});
    return mutex.value;
}
