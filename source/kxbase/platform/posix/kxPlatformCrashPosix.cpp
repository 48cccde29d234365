#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/platform/kxPlatformFork.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/platform/posix/kxPosixCrashTimes.h"
#include "kxbase/platform/posix/kxPosixDescriptor.h"
#include "kxbase/platform/posix/kxPosixDumpThread.h"
#include "kxbase/platform/posix/kxPosixFault.h"
#include "kxbase/platform/posix/kxPosixHandlerStack.h"
#include "kxbase/platform/posix/kxPosixPreviousAction.h"
#include "kxbase/platform/posix/kxPosixStackWalk.h"
#include "kxbase/platform/posix/kxPosixTerminalMode.h"
#include "kxbase/platform/posix/kxPosixThread.h"
#include "kxbase/platform/posix/kxPosixTime.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csetjmp>
#include <cstdlib>
#include <iterator>

#include <poll.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace {

// Who deals with a fault: a thread by its id, nobody, or the previous handler, which the thread has called.
//
//   kNobody, any passed on -> thread  the thread, when it faults or ends the process
//   thread -> kNobody                 the same thread, when that is all; it stays the owner of a process that is to end
//   thread -> its id, passed on       the same thread, when it calls the previous handler
//   its id, passed on -> kNobody      the same thread, when that has returned; a handler that jumps leaves it behind
//   any -> kNobody                    a forked child
constexpr std::uint32_t kNobody = 0;
constexpr std::uint32_t kPassedOn = 0x80000000;  // joined with the id

constinit std::atomic<std::uint32_t> owner{kNobody};
// When a previous handler was last called.
constinit std::atomic<std::int64_t> passedOnAtMilliseconds{0};

// Made before any fault.
kxPlatformCrashActions actions;

// The owner's, which uses the room of the dump thread while that is free.
kxPlatformCrash crashForHandler;
sigjmp_buf guardStart;
constinit std::atomic<bool> isGuarded{false};

// The id that the thread has in a forked child as well, whatever is cached.
std::uint32_t callingThread()
{
    return static_cast<std::uint32_t>(::syscall(SYS_gettid));
}

// Of a time that began then.
std::uint32_t millisecondsLeft(std::int64_t beginMilliseconds, std::uint32_t milliseconds)
{
    const std::int64_t left = beginMilliseconds + milliseconds - kxPosixMonotonicMilliseconds();
    return static_cast<std::uint32_t>(std::max<std::int64_t>(left, 0));
}

bool isPassedOn(std::uint32_t present)
{
    return (present & kPassedOn) != 0;
}

void changeOwner(std::uint32_t from, std::uint32_t to)
{
    if (owner.compare_exchange_strong(from, to)) kxPlatformWakeAll(owner);
}

// Those that fault meanwhile wait in their handlers.
void becomeOwner(std::uint32_t thread)
{
    for (;;) {
        std::uint32_t present = owner.load();
        if (present == thread) return;
        if (present != kNobody && !isPassedOn(present))
            kxPlatformWaitWhile(owner, present, KX_PLATFORM_WAIT_FOREVER);
        else if (owner.compare_exchange_strong(present, thread))
            return;
    }
}

// Writing may send signals of its own to the thread, which would come before the fault goes on.
class WritingInHandler {
public:
    WritingInHandler() { ::sigpending(&before_); }
    ~WritingInHandler()
    {
        for (const int signal : {SIGPIPE, SIGXFSZ})
            if (sigismember(&before_, signal) == 0) kxPosixTakePending(signal);
    }
    WritingInHandler(const WritingInHandler&) = delete;
    WritingInHandler& operator=(const WritingInHandler&) = delete;

private:
    sigset_t before_;
};

bool dealWithoutThread(const kxPlatformCrash& crash)
{
    const WritingInHandler writing;
    return actions.dealInHandler(crash);
}

// Answers whether the fault is handled.
bool dealOnThread(const kxPlatformCrash& crash)
{
    const kxPosixDumpResult result = kxPosixDump();
    if (result == KX_POSIX_DUMP_LOST) return dealWithoutThread(crash);
    if (!kxPosixTell()) {
        const WritingInHandler writing;
        actions.tellInHandler(crash);
    }
    return result == KX_POSIX_DUMP_HANDLED;
}

// An aligned access is all that a handler may count on.
void allowMisalignment()
{
#if defined(__x86_64__)
    constexpr unsigned long long kAlignmentCheck = 1U << 18;
    __builtin_ia32_writeeflags_u64(__builtin_ia32_readeflags_u64() & ~kAlignmentCheck);
#endif
}

// For steps that read memory which may be in disorder: a fault ends the step, and what was done until then counts.
template <typename Step> void guarded(Step step)
{
    if (sigsetjmp(guardStart, 1) == 0) {
        isGuarded.store(true);
        step();
    }
    isGuarded.store(false);
}

void walk(const siginfo_t& info, void* context, kxPlatformCrash& crash)
{
    volatile std::uint32_t count = 0;
    mcontext_t& machine = static_cast<ucontext_t*>(context)->uc_mcontext;
    const mcontext_t before = machine;
    const std::uintptr_t counter = kxPosixProgramCounter(context);
    const bool isBadAddress = info.si_code > 0 && (info.si_signo == SIGSEGV || info.si_signo == SIGBUS);
    const bool isBadCall = isBadAddress && reinterpret_cast<std::uintptr_t>(info.si_addr) == counter;
    guarded(
        [&] { kxPosixWalkInterrupted(context, isBadCall, crash.frames, KX_PLATFORM_MOST_FRAMES, count); });
    machine = before;
    crash.frameCount = count == 0 ? 1 : count;
}

void examine(const siginfo_t& info, void* context, kxPlatformCrash& crash)
{
    crash.fault = kxPosixFaultOf(info);
    guarded([&] { crash.fault = kxPosixExactFault(crash.fault, info, context); });
    walk(info, context, crash);
}

// Nobody else may begin a dump that would not be finished.
void endByDefault(siginfo_t& info, void* context)
{
    becomeOwner(callingThread());
    kxPosixEndByDefault(info, context);
}

void callPreviousHandler(siginfo_t& info, void* context)
{
    const std::uint32_t thread = callingThread();
    passedOnAtMilliseconds.store(kxPosixMonotonicMilliseconds());
    changeOwner(thread, thread | kPassedOn);
    if (kxPosixCallPreviousHandler(info, context)) return endByDefault(info, context);
    changeOwner(thread | kPassedOn, kNobody);
}

// To the previous action. That of a further fault goes on while another thread may own the next.
void passOn(siginfo_t& info, void* context)
{
    switch (kxPosixNextStepOf(info)) {
    case KX_POSIX_IGNORE:
        return changeOwner(callingThread(), kNobody);
    case KX_POSIX_CALL_HANDLER:
        return callPreviousHandler(info, context);
    case KX_POSIX_END_PROCESS:
        return endByDefault(info, context);
    }
}

[[noreturn]] void endHandled(int signal)
{
    if (kxPosixMayKillCaller()) {
        changeOwner(callingThread(), kNobody);
        kxPlatformThreadKillCaller();
    }
    kxPosixTerminalMode::giveAllBackForGood();
    ::_exit(KX_POSIX_STATUS_OF_SIGNAL + signal);
}

// A fault in the middle of dealing with one; the unwinder aborts where it is at a loss. What somebody sends meanwhile
// comes too late.
void onFurtherFault(siginfo_t& info, void* context)
{
    if (isGuarded.load() && (info.si_code > 0 || info.si_signo == SIGABRT)) siglongjmp(guardStart, 1);
    if (info.si_code > 0) passOn(info, context);
}

void onFirstFault(siginfo_t& info, void* context)
{
    becomeOwner(callingThread());
    kxPlatformCrash* const room = kxPosixDumpRoom();
    kxPlatformCrash& crash = room != nullptr ? *room : crashForHandler;
    examine(info, context, crash);
    kxPosixTerminalMode::giveAllBack();
    const bool isDone = room != nullptr ? dealOnThread(crash) : dealWithoutThread(crash);
    if (isDone) endHandled(info.si_signo);
    passOn(info, context);
}

void onFault(int, siginfo_t* info, void* context)
{
    allowMisalignment();
    const int error = errno;
    const std::uint32_t thread = callingThread();
    if (kxPosixIsDumpThread(thread)) kxPosixLoseDumpThread();
    if (owner.load() == thread)
        onFurtherFault(*info, context);
    else if (info->si_signo == SIGABRT && kxPosixIsInPreviousHandler(__builtin_frame_address(0)))
        passOn(*info, context);  // it ends in this way what was a fault
    else
        onFirstFault(*info, context);
    errno = error;
}

// How long the end of the program may be put off. A previous handler may have jumped, long since perhaps.
std::uint32_t longestWait(std::uint32_t present)
{
    if (isPassedOn(present))
        return millisecondsLeft(passedOnAtMilliseconds.load(), KX_POSIX_PREVIOUS_HANDLER_MILLISECONDS);
    return KX_POSIX_DUMP_MILLISECONDS + KX_POSIX_TELL_MILLISECONDS + KX_POSIX_END_MILLISECONDS;
}

// A program that ends by itself meanwhile waits for the dump, and for the end that the fault brings. The dump thread is
// waited for itself.
void waitForOwner()
{
    const std::uint32_t own = callingThread();
    if (kxPosixIsDumpThread(own)) return;
    std::uint32_t present = owner.load();
    while (present != kNobody && (present & ~kPassedOn) != own) {
        if (!kxPlatformWaitWhile(owner, present, longestWait(present))) return;
        present = owner.load();
    }
}

void forgetInChild()
{
    owner.store(kNobody);
    kxPosixForgetDumpThread();
}

bool install(const kxPlatformCrashActions& wanted)
{
    actions = wanted;
    kxPosixInstallHandlerStack();
    static constinit kxPlatformForkGuard guard{[] {}, [] {}, forgetInChild};
    kxPlatformAddForkGuard(guard);
    std::atexit(waitForOwner);
    std::at_quick_exit(waitForOwner);
    bool isInstalled = true;
    for (std::size_t index = 0; index < std::size(KX_POSIX_FAULT_SIGNALS); ++index)
        isInstalled = kxPosixCatchFault(index, onFault) && isInstalled;
    return isInstalled;
}

}  // namespace

std::uint32_t kxPlatformCrashFrames(kxPlatformFrame* frames, std::uint32_t capacity)
{
    void* const caller = __builtin_extract_return_addr(__builtin_return_address(0));
    return kxPosixWalkFrom(reinterpret_cast<std::uintptr_t>(caller), frames, capacity);
}

void kxPlatformCrashPrint(const char* text, std::size_t sizeBytes)
{
    // What is ready takes that much without a wait: a pipe at least so, a terminal perhaps one byte only.
    const std::size_t mostBytes = ::isatty(STDERR_FILENO) != 0 ? 1 : PIPE_BUF;
    const std::int64_t begin = kxPosixMonotonicMilliseconds();
    while (sizeBytes != 0) {
        const std::uint32_t left = millisecondsLeft(begin, KX_POSIX_PRINT_MILLISECONDS);
        if (left == 0 || (kxPosixWait(STDERR_FILENO, POLLOUT, left) & POLLOUT) == 0) return;
        const ssize_t count = ::write(STDERR_FILENO, text, std::min(sizeBytes, mostBytes));
        if (count < 0) return;
        text += count;
        sizeBytes -= static_cast<std::size_t>(count);
    }
}

bool kxPlatformCrashInstall(const kxPlatformCrashActions& wanted)
{
    static const bool isInstalled = install(wanted);
    return isInstalled && kxPosixStartDumpThread(actions);
}
