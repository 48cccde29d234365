// The thread that writes faults down, one at a time, and may allocate and lock.
//
// Threads: one thread at a time has it serve; what is not for the dump thread itself may be called in handlers, but
//          for starting it.
#pragma once

#include "kxbase/platform/kxPlatformCrash.h"

// Starts it for this process; of several threads that ask at the same time one does. The actions must stay. False when
// the system refuses.
bool kxPosixStartDumpThread(const kxPlatformCrashActions& actions);
// For a forked child, which does not have it.
void kxPosixForgetDumpThread();

bool kxPosixIsDumpThread(std::uint32_t thread);
// On the dump thread, when it has faulted: nothing may be expected of it any more.
[[noreturn]] void kxPosixLoseDumpThread();

// Where the fault is to be filled in before the thread is to serve; null when it does not, or not yet again.
kxPlatformCrash* kxPosixDumpRoom();
enum kxPosixDumpResult {
    KX_POSIX_DUMP_LOST,  // it has not come to its end
    KX_POSIX_DUMP_PASSED_ON,
    KX_POSIX_DUMP_HANDLED,
};
// Waits for the `dump` of the actions, and answers what that does.
kxPosixDumpResult kxPosixDump();
// Waits for the `tell` that follows. Answers whether it has come to its end.
bool kxPosixTell();
