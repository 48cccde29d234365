// The signal that kills a thread: the last but one real-time signal, which belongs to the library.
#pragma once

#include <csignal>

inline int kxPosixThreadSignal()
{
    return SIGRTMAX - 1;
}
