// What kxPlatformThreadPosix.cpp shares with this folder: how threads are killed.
#pragma once

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

// Whether kxPlatformThreadKillCaller would end the calling thread. May be called from a signal handler.
bool kxPosixMayKillCaller();
