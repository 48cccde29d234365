#include "kxbase/platform/posix/kxPosixPreviousAction.h"

#include "kxbase/platform/posix/kxPosixFault.h"
#include "kxbase/platform/posix/kxPosixSignals.h"
#include "kxbase/platform/posix/kxPosixTerminalMode.h"
#include "kxbase/platform/posix/kxPosixThread.h"

#include <algorithm>
#include <iterator>

#include <pthread.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>
#include <unwind.h>

namespace {

// The system ends its first process, often the only one of a container, by no signal that was sent.
constexpr pid_t kFirstProcess = 1;

struct sigaction previousActions[std::size(KX_POSIX_FAULT_SIGNALS)];

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
    if (isPending(kxPosixThreadSignal())) sigaddset(&mask, kxPosixThreadSignal());
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    if ((previous.sa_flags & SA_SIGINFO) != 0)
        previous.sa_sigaction(info.si_signo, &info, context);
    else
        previous.sa_handler(info.si_signo);
    return kxPosixFaultsAgain(info) && isDefault(info.si_signo);
}

bool kxPosixIsInPreviousHandler(std::span<const kxPlatformFrame> frames)
{
    return std::any_of(frames.begin(), frames.end(), [](const kxPlatformFrame& frame) {
        void* const place = reinterpret_cast<void*>(frame.address);
        return ::_Unwind_FindEnclosingFunction(place) == reinterpret_cast<void*>(kxPosixCallPreviousHandler);
    });
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

void kxPosixSendToProcess(siginfo_t& info, void* context)
{
    sigset_t own;
    sigemptyset(&own);
    sigaddset(&own, info.si_signo);
    pthread_sigmask(SIG_BLOCK, &own, nullptr);
    sigaddset(&static_cast<ucontext_t*>(context)->uc_sigmask, info.si_signo);
    // Only the main thread may send with the sender of another signal.
    if (::syscall(SYS_rt_sigqueueinfo, ::getpid(), info.si_signo, &info) != 0)
        ::kill(::getpid(), info.si_signo);
}
