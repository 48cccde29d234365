// What the program did about a signal of KX_POSIX_FAULT_SIGNALS before it was caught: the previous action, which may
// be to call a handler.
//
// Threads: signals are caught once, before any fault; everything else is for handlers.
#pragma once

#include <csignal>
#include <cstddef>

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
// Whether the handler with this frame interrupts one that kxPosixCallPreviousHandler has called on the same thread.
// Should that have jumped, then the frame stands above the one that is remembered; without a stack for handlers that
// cannot be told, and the answer is no.
bool kxPosixIsInPreviousHandler(const void* frame);

// Makes the process end by the signal as soon as the handler that was given the context returns, with the registers
// of the fault and before anything else can happen on the thread.
void kxPosixEndByDefault(siginfo_t& info, void* context);

// Takes a signal of the calling thread's that is blocked and waits. Answers whether there was one.
bool kxPosixTakePending(int signal);
