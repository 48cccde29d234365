#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/platform/posix/kxPosixDescriptor.h"
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
#include <span>

#include <poll.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t kDumpMilliseconds = 10000;
constexpr std::uint32_t kTellMilliseconds = 1000;
// Time that the end of the process may take once a fault has gone on to the handler before.
constexpr std::uint32_t kEndMilliseconds = 1000;
constexpr int kPrintMilliseconds = 1000;
constexpr std::uint32_t kForEver = 0xFFFFFFFF;
constexpr int kStatusOfSignal = 128;

// Who deals with a fault, or dealt with the last one.
constexpr std::uint32_t kNobody = 0;
constexpr std::uint32_t kGoneOn = 0xFFFFFFFF;  // the last fault went on to the handler before

// How far the dump thread is.
enum Progress : std::uint32_t { IDLE, ASKED, DUMPED, TOLD, LOST };

// All that the handler needs, made before any fault.
kxPlatformCrashActions actions;
struct sigaction actionsBefore[std::size(kxPosixFaultSignals)];
constinit std::atomic<std::uint32_t> owner{kNobody};  // a thread id, or one of the two above
constinit std::atomic<std::uint32_t> progress{LOST};
constinit std::atomic<std::uint32_t> dumpThread{0};
constinit std::atomic<pid_t> dumpProcess{0};
kxPlatformCrash crash;
bool isHandled = false;
sigjmp_buf walkStart;
constinit std::atomic<bool> isWalking{false};

sigset_t setOf(std::span<const int> signals)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals) sigaddset(&set, signal);
    return set;
}

void setProgress(Progress step)
{
    progress.store(step);
    kxPlatformWakeAll(progress);
}

// ---- the dump thread

// While it waits no signal may reach this thread; what is sent to the process is for the threads of the program.
// What it does itself may fault.
void serve()
{
    const sigset_t faults = setOf(kxPosixFaultSignals);
    pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);
    isHandled = actions.dump(crash);
    setProgress(DUMPED);
    actions.tell();
    pthread_sigmask(SIG_BLOCK, &faults, nullptr);
    setProgress(TOLD);
}

void dumpBody(void*)
{
    // Its first block gives the thread a part of the heap to itself, while there is one to be had. The thread that
    // faults may have locked its own.
    void* volatile block = std::malloc(1);
    std::free(block);
    dumpThread.store(kxPlatformThreadId());
    for (;;) {
        for (std::uint32_t step = progress.load(); step != ASKED; step = progress.load())
            kxPlatformWaitWhile(progress, step, kForEver);
        serve();
    }
}

bool startDumpThread()
{
    sigset_t all, before;
    sigfillset(&all);
    progress.store(IDLE);
    dumpProcess.store(::getpid());
    pthread_sigmask(SIG_SETMASK, &all, &before);
    // Serves until the process ends; nobody closes it.
    static kxPlatformThread* thread;
    thread = kxPlatformThreadStart(dumpBody, nullptr);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread != nullptr;
}

// A forked child has no dump thread, and nobody who deals with a fault.
void forgetInChild()
{
    owner.store(kNobody);
    progress.store(LOST);
}

// ---- the handler

bool waitBeyond(Progress step, std::uint32_t milliseconds)
{
    return kxPlatformWaitWhile(progress, step, milliseconds) && progress.load() != LOST;
}

bool dumpOnThread()
{
    // A dump thread that is not done with the fault before will not come to this one.
    const std::uint32_t step = progress.load();
    if (step != IDLE && step != TOLD) return false;
    setProgress(ASKED);
    return waitBeyond(ASKED, kDumpMilliseconds);
}

bool deal()
{
    if (!dumpOnThread()) {
        const bool result = actions.dumpInHandler(crash);
        actions.tellInHandler(crash);
        return result;
    }
    const bool result = isHandled;
    if (!waitBeyond(DUMPED, kTellMilliseconds)) actions.tellInHandler(crash);
    return result;
}

// An aligned access is all that a handler may count on.
void allowMisalignment()
{
#if defined(__x86_64__)
    constexpr unsigned long long kAlignmentCheck = 1U << 18;
    __builtin_ia32_writeeflags_u64(__builtin_ia32_readeflags_u64() & ~kAlignmentCheck);
#endif
}

// The stack may be in disorder; what was found until then counts.
void walk(const siginfo_t& info, void* context)
{
    volatile std::uint32_t count = 0;
    mcontext_t& machine = static_cast<ucontext_t*>(context)->uc_mcontext;
    const mcontext_t before = machine;
    const std::uintptr_t counter = kxPosixProgramCounter(context);
    const bool isBadAddress = info.si_code > 0 && (info.si_signo == SIGSEGV || info.si_signo == SIGBUS);
    const bool isBadCall = isBadAddress && reinterpret_cast<std::uintptr_t>(info.si_addr) == counter;
    if (sigsetjmp(walkStart, 1) == 0) {
        isWalking.store(true);
        kxPosixWalkInterrupted(context, isBadCall, crash.frames, KX_PLATFORM_MOST_FRAMES, count);
    }
    isWalking.store(false);
    machine = before;
    crash.frameCount = count == 0 ? 1 : count;
}

struct sigaction& actionBefore(int signal)
{
    return actionsBefore[std::find(std::begin(kxPosixFaultSignals), std::end(kxPosixFaultSignals), signal) -
                         std::begin(kxPosixFaultSignals)];
}

// To the handler that was there before: by the same instruction, or else by the same signal, which waits until this
// handler has returned.
void goOn(siginfo_t& info)
{
    const struct sigaction& before = actionBefore(info.si_signo);
    // Another thread may have taken the terminal again.
    if (before.sa_handler == SIG_DFL) kxPosixTerminalMode::giveAllBackForGood();
    ::sigaction(info.si_signo, &before, nullptr);
    if (kxPosixFaultsAgain(info)) return;
    const sigset_t signals = setOf({&info.si_signo, 1});
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    ::syscall(SYS_rt_tgsigqueueinfo, ::getpid(), ::syscall(SYS_gettid), info.si_signo, &info);
}

void letNextOwn(std::uint32_t state)
{
    owner.store(state);
    kxPlatformWakeAll(owner);
}

// Where the process ends, nobody else may begin a dump that would not be finished.
[[noreturn]] void endHandled(int signal)
{
    if (kxPosixMayKillCaller()) {
        letNextOwn(kNobody);
        kxPlatformThreadKillCaller();
    }
    kxPosixTerminalMode::giveAllBackForGood();
    ::_exit(kStatusOfSignal + signal);
}

[[noreturn]] void standStill()
{
    for (;;) kxPlatformWaitWhile(progress, LOST, kForEver);
}

// A fault in the middle of dealing with one. What somebody sends meanwhile comes too late.
void onFurtherFault(siginfo_t& info)
{
    if (info.si_code <= 0) return;
    if (isWalking.load()) siglongjmp(walkStart, 1);
    goOn(info);
}

void becomeOwner(std::uint32_t thread)
{
    for (;;) {
        std::uint32_t present = kNobody;
        if (owner.compare_exchange_strong(present, thread)) return;
        const std::uint32_t waitMilliseconds = present == kGoneOn ? kEndMilliseconds : kForEver;
        const bool hasChanged = kxPlatformWaitWhile(owner, present, waitMilliseconds);
        // The handler before has dealt with it, and the process goes on.
        if (!hasChanged) owner.compare_exchange_strong(present, kNobody);
    }
}

void onFault(int signal, siginfo_t* info, void* context)
{
    allowMisalignment();
    const int error = errno;
    const auto thread = static_cast<std::uint32_t>(::syscall(SYS_gettid));
    if (thread == dumpThread.load() && dumpProcess.load() == ::getpid()) {
        setProgress(LOST);
        standStill();
    }
    if (owner.load() == thread) {
        onFurtherFault(*info);
        return;
    }
    becomeOwner(thread);
    crash.fault = kxPosixFaultOf(*info, context);
    walk(*info, context);
    kxPosixTerminalMode::giveAllBack();
    if (deal()) endHandled(signal);
    goOn(*info);
    letNextOwn(kGoneOn);
    errno = error;
}

// A program that ends by itself meanwhile waits for the dump.
void waitForOwner()
{
    const std::uint32_t present = owner.load();
    if (present != kNobody && present != kGoneOn && present != kxPlatformThreadId())
        kxPlatformWaitWhile(owner, present, kDumpMilliseconds + kTellMilliseconds);
}

// Faults of the handler itself must come through; everything else waits.
bool installHandler(std::size_t index)
{
    struct sigaction action {};
    action.sa_sigaction = onFault;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    sigfillset(&action.sa_mask);
    for (const int signal : kxPosixFaultSignals) sigdelset(&action.sa_mask, signal);
    return ::sigaction(kxPosixFaultSignals[index], &action, &actionsBefore[index]) == 0;
}

bool install(const kxPlatformCrashActions& wanted)
{
    actions = wanted;
    kxPosixInstallHandlerStack();
    static constinit kxPlatformForkGuard guard{[] {}, [] {}, forgetInChild};
    kxPlatformAddForkGuard(guard);
    std::atexit(waitForOwner);
    bool isInstalled = startDumpThread();
    for (std::size_t index = 0; index < std::size(kxPosixFaultSignals); ++index)
        isInstalled = installHandler(index) && isInstalled;
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
    return isInstalled && (dumpProcess.load() == ::getpid() || startDumpThread());
}
