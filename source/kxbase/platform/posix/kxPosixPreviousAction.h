// What the program did about a signal of KX_POSIX_FAULT_SIGNALS before it was caught: the previous action, which may
// be to call a handler.
//
// Threads: signals are caught once, before any fault; everything else is for handlers.
#pragma once

#include "kxbase/platform/kxPlatformCrash.h"

#include <csignal>
#include <cstddef>
#include <span>

// Installs the handler for the signal of that index and remembers what was there. False when the system refuses.
bool kxPosixCatchFault(std::size_t index, void (*handler)(int, siginfo_t*, void*));

enum kxPosixNextStep {
    KX_POSIX_IGNORE,
    KX_POSIX_CALL_HANDLER,
    KX_POSIX_END_PROCESS,
};
// What comes next. A handler that only ends the process in good order counts as the default action; a fault that was
// not sent cannot be ignored.
kxPosixNextStep kxPosixNextStepOf(const siginfo_t& info);

// Calls the previous handler as the system would, on the stack that is in use now. It may jump, or return: then the
// answer is whether the process is to end, because the handler has left the default action behind and what faulted
// will do so again. An order to kill the thread that has come before waits until the handler has returned, or has
// jumped to where the signals are as they were; behind a jump that leaves them as they are, until the thread next
// allows to be killed.
bool kxPosixCallPreviousHandler(siginfo_t& info, void* context);
// Whether the frames are those of a handler that kxPosixCallPreviousHandler has called and that has neither returned
// nor jumped, or of what it has called.
bool kxPosixIsInPreviousHandler(std::span<const kxPlatformFrame> frames);

// Makes the process end by the signal as soon as the handler that was given the context returns, with the registers
// of the fault and before anything else can happen on the thread.
void kxPosixEndByDefault(siginfo_t& info, void* context);

// Leaves a signal that was sent to the other threads of the process. The calling one, as whose handler the context was
// given, has it blocked from then on.
void kxPosixSendToProcess(siginfo_t& info, void* context);
