// Threads of the system: their ids, and threads that the library starts.
//
// Ownership: a kxPlatformThread is the caller's from its start until it is closed.
// Threads:   any, also before main and after it. Functions that take a kxPlatformThread may be called from any thread
//            but itself, several at a time except closing. kxPlatformThreadKillCaller is safe in a signal handler.
#pragma once

#include <cstdint>

// The system's id of the calling thread, never 0. Kept for each thread, so that asking costs no system call;
// right in a forked child as well.
std::uint32_t kxPlatformThreadId();

// A thread that was started, until it is closed.
struct kxPlatformThread;
using kxPlatformThreadBody = void (*)(void* argument);

// Starts a thread that calls the body, with an alternate stack for handlers of crashes. Null when the system
// refuses. What the body throws ends the process.
kxPlatformThread* kxPlatformThreadStart(kxPlatformThreadBody body, void* argument);
// Answers whether the thread has ended, its thread-local objects destroyed, waiting for that at most the given
// time. A caller that is killed meanwhile leaves nothing behind.
bool kxPlatformThreadHasEnded(kxPlatformThread& thread, std::uint32_t waitMilliseconds = 0);
// Ends a thread whose body has begun, wherever it is. Nothing of it is cleaned up: locks stay locked,
// thread-local objects and what the thread owned stay behind. A body that returns first is left alone. The
// thread has ended a moment later, or once the system lets go of it. False when the system refuses for now.
bool kxPlatformThreadKill(kxPlatformThread& thread);
// Gives the thread up. One that has not ended goes on by itself; one that was killed and has not ended leaves
// its stack behind.
void kxPlatformThreadClose(kxPlatformThread* thread);
// Ends the calling thread as kxPlatformThreadKill does; does nothing unless it was started by
// kxPlatformThreadStart.
void kxPlatformThreadKillCaller();
// Puts off that another thread kills the calling one, until that is allowed as many times.
void kxPlatformThreadDelayKill();
void kxPlatformThreadAllowKill();

// Whether the system's cancellation of threads, which unwinds the stack, may act on the calling thread; answers
// whether it might before. Where the system has none, nothing happens.
bool kxPlatformThreadAllowCancel(bool isAllowed);

// Sets the priority of the calling thread: steps of -2 to 2, lowest to highest, around the one that the
// process had when this was first called in it. Refusal by the system is silent.
void kxPlatformThreadSetPriority(int steps);
