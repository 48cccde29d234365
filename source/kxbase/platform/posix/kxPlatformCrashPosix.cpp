#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/platform/posix/kxPosixActionBefore.h"
#include "kxbase/platform/posix/kxPosixDescriptor.h"
#include "kxbase/platform/posix/kxPosixDumpThread.h"
#include "kxbase/platform/posix/kxPosixFault.h"
#include "kxbase/platform/posix/kxPosixHandlerStack.h"
#include "kxbase/platform/posix/kxPosixStackWalk.h"
#include "kxbase/platform/posix/kxPosixTerminalMode.h"
#include "kxbase/platform/posix/kxPosixThreadSignal.h"

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

// Time that a handler before ours has until the program may end by itself, and the process to end once that is settled.
constexpr std::uint32_t kHandlerMilliseconds = 1000;
constexpr std::uint32_t kEndMilliseconds = 10000;
constexpr int kPrintMilliseconds = 1000;
constexpr std::uint32_t kForEver = 0xFFFFFFFF;

// Who deals with a fault: a thread by its id, or one of these.
//
//   kNobody, kPassedOn -> thread  the thread, when it faults or ends the process
//   thread -> kNobody             the same thread, when that is all; it stays the owner of a process that is to end
//   thread -> kPassedOn           the same thread, when it calls the handler before
//   kPassedOn -> kNobody          a thread whose handler before has returned; one that jumps leaves kPassedOn behind
//   any -> kNobody                a forked child
constexpr std::uint32_t kNobody = 0;
constexpr std::uint32_t kPassedOn = 0xFFFFFFFF;

constinit std::atomic<std::uint32_t> owner{kNobody};

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
        if (present != kNobody && present != kPassedOn)
            kxPlatformWaitWhile(owner, present, kForEver);
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

bool dealInHandler(const kxPlatformCrash& crash)
{
    const WritingInHandler writing;
    return actions.dealInHandler(crash);
}

// Answers whether the fault is handled.
bool dealOnThread(const kxPlatformCrash& crash)
{
    bool isHandled = false;
    if (!kxPosixDump(isHandled)) return dealInHandler(crash);
    if (!kxPosixTell()) {
        const WritingInHandler writing;
        actions.tellInHandler(crash);
    }
    return isHandled;
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

// To what was there before. A further fault goes on while another thread may own the next.
void goOn(siginfo_t& info, void* context)
{
    const kxPosixNextStep step = kxPosixNextStepOf(info);
    if (step == KX_POSIX_END_PROCESS) return endByDefault(info, context);
    changeOwner(callingThread(), step == KX_POSIX_CALL_HANDLER ? kPassedOn : kNobody);
    if (step != KX_POSIX_CALL_HANDLER) return;
    if (kxPosixCallHandlerBefore(info, context)) return endByDefault(info, context);
    changeOwner(kPassedOn, kNobody);
}

[[noreturn]] void endHandled(int signal)
{
    if (kxPosixMayKillCaller()) {
        changeOwner(callingThread(), kNobody);
        kxPlatformThreadKillCaller();
    }
    kxPosixTerminalMode::giveAllBackForGood();
    ::_exit(kxPosixStatusOfSignal + signal);
}

// A fault in the middle of dealing with one; the unwinder aborts where it is at a loss. What somebody sends meanwhile
// comes too late.
void onFurtherFault(siginfo_t& info, void* context)
{
    if (isGuarded.load() && (info.si_code > 0 || info.si_signo == SIGABRT)) siglongjmp(guardStart, 1);
    if (info.si_code > 0) goOn(info, context);
}

void onFirstFault(siginfo_t& info, void* context)
{
    becomeOwner(callingThread());
    kxPlatformCrash* const room = kxPosixDumpRoom();
    kxPlatformCrash& crash = room != nullptr ? *room : crashForHandler;
    examine(info, context, crash);
    kxPosixTerminalMode::giveAllBack();
    const bool isDone = room != nullptr ? dealOnThread(crash) : dealInHandler(crash);
    if (isDone) endHandled(info.si_signo);
    goOn(info, context);
}

void onFault(int, siginfo_t* info, void* context)
{
    allowMisalignment();
    const int error = errno;
    const std::uint32_t thread = callingThread();
    if (kxPosixIsDumpThread(thread)) kxPosixLoseDumpThread();
    if (owner.load() == thread)
        onFurtherFault(*info, context);
    else if (info->si_signo == SIGABRT && kxPosixIsWithinHandlerBefore(__builtin_frame_address(0)))
        goOn(*info, context);  // it ends in this way what was a fault
    else
        onFirstFault(*info, context);
    errno = error;
}

// A program that ends by itself meanwhile waits for the dump, and for the end that the fault brings.
void waitForOwner()
{
    constexpr std::uint32_t kLongestMilliseconds = kxPosixLongestDumpMilliseconds + kEndMilliseconds;
    const std::uint32_t own = callingThread();
    std::uint32_t present = owner.load();
    if (present == kPassedOn) return;  // perhaps long since
    while (present != kNobody && present != own) {
        const bool isPassedOn = present == kPassedOn;
        if (!kxPlatformWaitWhile(owner, present, isPassedOn ? kHandlerMilliseconds : kLongestMilliseconds))
            return;
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
    for (std::size_t index = 0; index < std::size(kxPosixFaultSignals); ++index)
        isInstalled = kxPosixCatchFault(index, onFault) && isInstalled;
    return isInstalled;
}

}  // namespace

void kxPlatformCrashPrint(const char* text, std::size_t sizeBytes)
{
    // A pipe that is ready takes that much at least.
    constexpr std::size_t kPieceBytes = PIPE_BUF;
    const char* const end = text + sizeBytes;
    while (text != end && (kxPosixWait(STDERR_FILENO, POLLOUT, kPrintMilliseconds) & POLLOUT) != 0) {
        const std::size_t pieceBytes = std::min(static_cast<std::size_t>(end - text), kPieceBytes);
        const ssize_t count = ::write(STDERR_FILENO, text, pieceBytes);
        if (count < 0) return;
        text += count;
    }
}

bool kxPlatformCrashInstall(const kxPlatformCrashActions& wanted)
{
    static const bool isInstalled = install(wanted);
    return isInstalled && kxPosixStartDumpThread(actions);
}
