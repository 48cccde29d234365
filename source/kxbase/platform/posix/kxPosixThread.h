// What kxPlatformThreadPosix.cpp shares with this folder: how threads are killed, and started without the signals of
// faults.
#pragma once

#include "kxbase/platform/kxPlatformThread.h"

#include <csignal>

// The signal that does it is an old one that nothing sends any more, and belongs to the library. A real-time signal
// would not do, since it is refused when the queue of signals is full.
inline int kxPosixThreadSignal()
{
#ifdef SIGSTKFLT
    return SIGSTKFLT;
#else
    return SIGRTMAX - 1;
#endif
}

// Whether kxPlatformThreadKillCaller would end the calling thread: one of kxPlatformThreadStart, in the process that
// has started it. May be called from a signal handler.
bool kxPosixMayKillCaller();

// As kxPlatformThreadStart, but the signals of faults stay blocked in the thread if they are in the calling one.
kxPlatformThread* kxPosixStartThreadWithoutFaults(kxPlatformThreadBody body, void* argument);
