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
#include <ctime>
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
// Time that the end of the process may take once the signal's default action has been restored.
constexpr std::uint32_t kEndMilliseconds = 10000;
constexpr int kPrintMilliseconds = 1000;
constexpr std::uint32_t kForEver = 0xFFFFFFFF;
constexpr int kStatusOfSignal = 128;

// Who deals with a fault: a thread by its id, or one of these.
//
//   kNobody -> thread     the thread, when it faults
//   thread -> kNobody     the same thread, when the process goes on
//   thread -> kGoneOn     the same thread, when the process is about to end by the signal
//   kGoneOn -> kNobody    another thread that has faulted, when the process has not ended after all
//   any -> kNobody        a forked child
constexpr std::uint32_t kNobody = 0;
constexpr std::uint32_t kGoneOn = 0xFFFFFFFF;

// How far the dump thread is.
//
//   IDLE -> ASKED          the owner
//   ASKED -> DUMPED        the dump thread, when the file is written
//   DUMPED -> IDLE         the dump thread, when the user has been told
//   ASKED -> LOST          the owner, when that takes too long
//   ASKED, DUMPED -> LOST  the dump thread, when it faults; it does nothing any more
//   LOST -> IDLE           the dump thread, when it is done too late, and whoever has started one
//   any -> LOST            a forked child
enum Progress : std::uint32_t { LOST, IDLE, ASKED, DUMPED };

constinit std::atomic<std::uint32_t> owner{kNobody};
constinit std::atomic<std::uint32_t> progress{LOST};

// Made before any fault.
kxPlatformCrashActions actions;
struct sigaction actionsBefore[std::size(kxPosixFaultSignals)];
constinit std::atomic<std::uint32_t> dumpThread{0};
constinit std::atomic<pid_t> dumpProcess{0};

// The dump thread's from ASKED until it is done, else the owner's.
kxPlatformCrash crashForThread;
bool isHandled = false;
// The owner's.
kxPlatformCrash crashForHandler;
sigjmp_buf guardStart;
constinit std::atomic<bool> isGuarded{false};
// The calling thread's frame of the handler that calls the one before; where that has jumped, of the last one.
thread_local volatile std::uintptr_t frameOfCall = 0;

sigset_t setOf(std::span<const int> signals)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals) sigaddset(&set, signal);
    return set;
}

// The id that the thread has in a forked child as well, whatever is cached.
std::uint32_t callingThread()
{
    return static_cast<std::uint32_t>(::syscall(SYS_gettid));
}

void restoreDefault(int signal)
{
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    ::sigaction(signal, &action, nullptr);
}

void setProgress(Progress step)
{
    progress.store(step);
    kxPlatformWakeAll(progress);
}

// Answers whether it was at the first step.
bool changeProgress(std::uint32_t from, Progress to)
{
    if (!progress.compare_exchange_strong(from, to)) return false;
    kxPlatformWakeAll(progress);
    return true;
}

// ---- the dump thread

// While it waits no signal may reach this thread; what is sent to the process is for the threads of the program.
// What it does itself may fault.
void serve()
{
    const sigset_t faults = setOf(kxPosixFaultSignals);
    pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);
    isHandled = actions.dump(crashForThread);
    if (changeProgress(ASKED, DUMPED)) actions.tell();
    pthread_sigmask(SIG_BLOCK, &faults, nullptr);
    setProgress(IDLE);
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

// One of several threads that ask at the same time starts it.
bool startDumpThread()
{
    const pid_t process = ::getpid();
    if (dumpProcess.exchange(process) == process) return true;
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    // Serves until the process ends; nobody closes it.
    static kxPlatformThread* thread;
    thread = kxPlatformThreadStart(dumpBody, nullptr);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (thread != nullptr)
        setProgress(IDLE);
    else
        dumpProcess.store(0);
    return thread != nullptr;
}

// A forked child has no dump thread, and nobody who deals with a fault.
void forgetInChild()
{
    owner.store(kNobody);
    progress.store(LOST);
    dumpThread.store(0);
}

// ---- the handler

// Answers whether the dump thread has written everything down in time.
bool dumpOnThread()
{
    setProgress(ASKED);
    if (!kxPlatformWaitWhile(progress, ASKED, kDumpMilliseconds) && changeProgress(ASKED, LOST)) return false;
    return progress.load() != LOST;
}

// Writing may send signals of its own to the thread, which would come before the fault goes on.
class WritingInHandler {
public:
    WritingInHandler() { ::sigpending(&before_); }
    ~WritingInHandler()
    {
        constexpr timespec kNoTime{};
        for (const int signal : {SIGPIPE, SIGXFSZ}) {
            const sigset_t set = setOf({&signal, 1});
            if (sigismember(&before_, signal) == 0) ::sigtimedwait(&set, nullptr, &kNoTime);
        }
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
bool dealOnThread()
{
    if (!dumpOnThread()) return dealInHandler(crashForThread);
    const bool result = isHandled;
    if (!kxPlatformWaitWhile(progress, DUMPED, kTellMilliseconds) || progress.load() == LOST) {
        const WritingInHandler writing;
        actions.tellInHandler(crashForThread);
    }
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
    guarded([&] {
        if (kxPosixIsPrivilegedInstruction(info, context)) crash.fault = KX_FAULT_PRIV_INSTRUCTION;
    });
    walk(info, context, crash);
}

const struct sigaction& actionBefore(int signal)
{
    return actionsBefore[std::find(std::begin(kxPosixFaultSignals), std::end(kxPosixFaultSignals), signal) -
                         std::begin(kxPosixFaultSignals)];
}

// Only the owner lets go; a further fault may go on while another thread owns the next.
void letNextOwn(std::uint32_t state)
{
    std::uint32_t thread = callingThread();
    if (owner.compare_exchange_strong(thread, state)) kxPlatformWakeAll(owner);
}

// As the system would, on the stack that is in use now. A thread that is to be killed meanwhile must not vanish with
// the fault.
[[gnu::noinline]] void callHandlerBefore(const struct sigaction& before, siginfo_t& info, void* context)
{
    if ((before.sa_flags & static_cast<int>(SA_RESETHAND)) != 0) restoreDefault(info.si_signo);
    sigset_t mask;
    sigorset(&mask, &before.sa_mask, &static_cast<ucontext_t*>(context)->uc_sigmask);
    sigaddset(&mask, kxPosixThreadSignal());
    if ((before.sa_flags & SA_NODEFER) == 0) sigaddset(&mask, info.si_signo);
    const std::uintptr_t outerFrame = frameOfCall;
    frameOfCall = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    letNextOwn(kNobody);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    if ((before.sa_flags & SA_SIGINFO) != 0)
        before.sa_sigaction(info.si_signo, &info, context);
    else
        before.sa_handler(info.si_signo);
    frameOfCall = outerFrame;
}

// By the same instruction, or else by the same signal, which waits until this handler has returned. The order to
// kill the thread must not come first.
void endByDefault(siginfo_t& info, void* context)
{
    // Another thread may have taken the terminal again.
    kxPosixTerminalMode::giveAllBackForGood();
    restoreDefault(info.si_signo);
    sigaddset(&static_cast<ucontext_t*>(context)->uc_sigmask, kxPosixThreadSignal());
    if (!kxPosixFaultsAgain(info)) {
        const sigset_t signals = setOf({&info.si_signo, 1});
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        ::syscall(SYS_rt_tgsigqueueinfo, ::getpid(), callingThread(), info.si_signo, &info);
    }
    letNextOwn(kGoneOn);
}

// To what was there before. Only what is sent can be ignored.
void goOn(siginfo_t& info, void* context)
{
    const struct sigaction& before = actionBefore(info.si_signo);
    const bool isIgnored = before.sa_handler == SIG_IGN;
    if (isIgnored && info.si_code <= 0)
        letNextOwn(kNobody);
    else if (isIgnored || before.sa_handler == SIG_DFL)
        endByDefault(info, context);
    else
        callHandlerBefore(before, info, context);
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

// A fault in the middle of dealing with one; the unwinder aborts where it is at a loss. What somebody sends meanwhile
// comes too late.
void onFurtherFault(siginfo_t& info, void* context)
{
    if (isGuarded.load() && (info.si_code > 0 || info.si_signo == SIGABRT)) siglongjmp(guardStart, 1);
    if (info.si_code > 0) goOn(info, context);
}

// Whether the handler before ends in this way what was a fault. Should it have jumped instead, then the frame of this
// handler stands above the one that is remembered; without a stack for handlers that cannot be told.
bool isAbortOfHandlerBefore(const siginfo_t& info, const void* frame)
{
    stack_t stack{};
    return info.si_signo == SIGABRT && frameOfCall != 0 && ::sigaltstack(nullptr, &stack) == 0 &&
           (stack.ss_flags & SS_ONSTACK) != 0 && reinterpret_cast<std::uintptr_t>(frame) < frameOfCall;
}

void becomeOwner(std::uint32_t thread)
{
    for (;;) {
        std::uint32_t present = kNobody;
        if (owner.compare_exchange_strong(present, thread)) return;
        const std::uint32_t waitMilliseconds = present == kGoneOn ? kEndMilliseconds : kForEver;
        const bool hasChanged = kxPlatformWaitWhile(owner, present, waitMilliseconds);
        // What faulted has not done so again.
        if (!hasChanged) owner.compare_exchange_strong(present, kNobody);
    }
}

void onFirstFault(siginfo_t& info, void* context)
{
    becomeOwner(callingThread());
    const bool isThreadFree = progress.load() == IDLE;
    kxPlatformCrash& crash = isThreadFree ? crashForThread : crashForHandler;
    examine(info, context, crash);
    kxPosixTerminalMode::giveAllBack();
    const bool isDone = isThreadFree ? dealOnThread() : dealInHandler(crash);
    if (isDone) endHandled(info.si_signo);
    goOn(info, context);
}

void onFault(int, siginfo_t* info, void* context)
{
    allowMisalignment();
    const int error = errno;
    const std::uint32_t thread = callingThread();
    if (thread == dumpThread.load() && dumpProcess.load() == ::getpid()) {
        setProgress(LOST);
        standStill();
    }
    if (owner.load() == thread)
        onFurtherFault(*info, context);
    else if (isAbortOfHandlerBefore(*info, __builtin_frame_address(0)))
        goOn(*info, context);
    else
        onFirstFault(*info, context);
    errno = error;
}

// A program that ends by itself meanwhile waits for the dump, and for the end that the fault brings.
void waitForOwner()
{
    constexpr std::uint32_t kLongestMilliseconds = kDumpMilliseconds + kTellMilliseconds + kEndMilliseconds;
    const std::uint32_t own = callingThread();
    for (std::uint32_t present = owner.load(); present != kNobody && present != own; present = owner.load())
        if (!kxPlatformWaitWhile(owner, present, kLongestMilliseconds)) return;
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
    bool isInstalled = true;
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
    return isInstalled && startDumpThread();
}
