// What is held while something of several pieces goes to standard output: a message, a line of progress.
//
// Threads: may be called from any thread, also before main and after it. No message is sent under it.
#pragma once

#include "kxbase/core/kxProcessMutex.h"

inline kxMutex& kxConsoleMutex()
{
    return kxProcessMutex<struct kxConsoleOutput>();
}
