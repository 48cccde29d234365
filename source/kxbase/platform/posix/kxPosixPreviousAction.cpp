#include "kxbase/platform/posix/kxPosixPreviousAction.h"

#include "kxbase/platform/posix/kxPosixFault.h"
#include "kxbase/platform/posix/kxPosixSignals.h"
#include "kxbase/platform/posix/kxPosixTerminalMode.h"
#include "kxbase/platform/posix/kxPosixThread.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <iterator>

#include <pthread.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace {

// The system ends its first process, often the only one of a container, by no signal that was sent.
constexpr pid_t kFirstProcess = 1;

struct sigaction previousActions[std::size(KX_POSIX_FAULT_SIGNALS)];

// The calling thread's frame of kxPosixCallPreviousHandler; where that handler has jumped, of the last one.
constinit thread_local volatile std::uintptr_t frameOfCall = 0;

const struct sigaction& previousAction(int signal)
{
    return previousActions[std::find(std::begin(KX_POSIX_FAULT_SIGNALS), std::end(KX_POSIX_FAULT_SIGNALS),
                                     signal) -
                           std::begin(KX_POSIX_FAULT_SIGNALS)];
}

bool isDefault(int signal)
{
    struct sigaction present {};
    return ::sigaction(signal, nullptr, &present) == 0 && present.sa_handler == SIG_DFL;
}

bool isPending(int signal)
{
    sigset_t pending;
    return ::sigpending(&pending) == 0 && sigismember(&pending, signal) == 1;
}

// The system's own set of an interrupted context is shorter than a sigset_t, and may only be changed piecemeal.
void blockAllBut(int signal, sigset_t& set)
{
    for (int other = 1; other <= SIGRTMAX; ++other)
        if (other != signal) sigaddset(&set, other);
    sigdelset(&set, signal);
}

}  // namespace

// Faults of the handler itself must come through; everything else waits.
bool kxPosixCatchFault(std::size_t index, void (*handler)(int, siginfo_t*, void*))
{
    struct sigaction action {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    sigfillset(&action.sa_mask);
    for (const int signal : KX_POSIX_FAULT_SIGNALS) sigdelset(&action.sa_mask, signal);
    return ::sigaction(KX_POSIX_FAULT_SIGNALS[index], &action, &previousActions[index]) == 0;
}

kxPosixNextStep kxPosixNextStepOf(const siginfo_t& info)
{
    const struct sigaction& previous = previousAction(info.si_signo);
    if (previous.sa_handler == SIG_IGN) return info.si_code <= 0 ? KX_POSIX_IGNORE : KX_POSIX_END_PROCESS;
    const bool isDefault =
        previous.sa_handler == SIG_DFL || kxPosixTerminalMode::isEndingBy(previous.sa_handler);
    return isDefault ? KX_POSIX_END_PROCESS : KX_POSIX_CALL_HANDLER;
}

[[gnu::noinline]] bool kxPosixCallPreviousHandler(siginfo_t& info, void* context)
{
    const struct sigaction& previous = previousAction(info.si_signo);
    if ((previous.sa_flags & static_cast<int>(SA_RESETHAND)) != 0) kxPosixRestoreDefaultAction(info.si_signo);
    sigset_t mask;
    sigorset(&mask, &previous.sa_mask, &static_cast<ucontext_t*>(context)->uc_sigmask);
    if ((previous.sa_flags & SA_NODEFER) == 0) sigaddset(&mask, info.si_signo);
    const void* const frame = __builtin_frame_address(0);
    const std::uintptr_t outerFrame = kxPosixIsInPreviousHandler(frame) ? frameOfCall : 0;
    frameOfCall = reinterpret_cast<std::uintptr_t>(frame);
    if (isPending(kxPosixThreadSignal())) sigaddset(&mask, kxPosixThreadSignal());
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    if ((previous.sa_flags & SA_SIGINFO) != 0)
        previous.sa_sigaction(info.si_signo, &info, context);
    else
        previous.sa_handler(info.si_signo);
    frameOfCall = outerFrame;
    return kxPosixFaultsAgain(info) && isDefault(info.si_signo);
}

bool kxPosixIsInPreviousHandler(const void* frame)
{
    stack_t stack{};
    return frameOfCall != 0 && ::sigaltstack(nullptr, &stack) == 0 && (stack.ss_flags & SS_ONSTACK) != 0 &&
           reinterpret_cast<std::uintptr_t>(frame) < frameOfCall;
}

void kxPosixEndByDefault(siginfo_t& info, void* context)
{
    kxPosixBlockAllSignals();
    kxPosixTerminalMode::giveAllBackForGood();
    kxPosixRestoreDefaultAction(info.si_signo);
    if (::getpid() == kFirstProcess && !kxPosixFaultsAgain(info))
        ::_exit(KX_POSIX_STATUS_OF_SIGNAL + info.si_signo);
    blockAllBut(info.si_signo, static_cast<ucontext_t*>(context)->uc_sigmask);
    ::syscall(SYS_rt_tgsigqueueinfo, ::getpid(), ::syscall(SYS_gettid), info.si_signo, &info);
}

bool kxPosixTakePending(int signal)
{
    constexpr timespec kNoTime{};
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    return ::sigtimedwait(&set, nullptr, &kNoTime) == signal;
}
