#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/platform/posix/kxPosixFault.h"
#include "kxbase/platform/posix/kxPosixFork.h"
#include "kxbase/platform/posix/kxPosixHandlerStack.h"
#include "kxbase/platform/posix/kxPosixThread.h"
#include "kxbase/platform/posix/kxPosixTime.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <ctime>
#include <memory>
#include <new>

#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

// Shared by the thread and the one that started it: the last to let go of it destroys it.
struct kxPlatformThread {
    // Joining is for one thread at a time.
    enum Joining : std::uint32_t { IDLE, BUSY, DONE };
    enum Holder : std::uint32_t { BOTH, ONE };

    const kxPlatformThreadBody body;
    void* const argument;
    const bool takesFaults;
    const pid_t process = ::getpid();
    pthread_t handle{};
    std::atomic<std::uint32_t> id{0};
    std::atomic<std::uint32_t> joining{IDLE};
    std::atomic<std::uint32_t> holders{BOTH};
    std::atomic<bool> isKilled{false};
    std::atomic<std::uint32_t> isOver{0};  // the body has returned or was killed; those who wait sleep on it
    kxPosixHandlerStack handlerStack;

    kxPlatformThread(kxPlatformThreadBody threadBody, void* bodyArgument, bool threadTakesFaults)
        : body(threadBody), argument(bodyArgument), takesFaults(threadTakesFaults)
    {}
};

namespace {

constexpr int kNicePerStep = -5;
constexpr long kShortestPauseNanoseconds = 50000;
constexpr long kLongestPauseNanoseconds = 1000000;

thread_local std::uint32_t cachedThreadId = 0;

// The calling thread's own, as long as it may be killed. Also read by the handler.
thread_local kxPlatformThread* volatile current = nullptr;
thread_local volatile int killDelays = 0;

void release(kxPlatformThread* thread)
{
    if (thread->holders.exchange(kxPlatformThread::ONE) == kxPlatformThread::ONE) delete thread;
}

void noteOver(kxPlatformThread& thread)
{
    thread.isOver.store(1);
    kxPlatformWakeAll(thread.isOver);
}

// The signal may have been for another thread, whose id this one has got since.
void endIfKilled()
{
    if (current != nullptr && current->isKilled.load() && killDelays == 0) kxPlatformThreadKillCaller();
}

void onThreadSignal(int)
{
    endIfKilled();
}

bool installThreadSignal()
{
    struct sigaction action {};
    action.sa_handler = onThreadSignal;
    action.sa_flags = SA_RESTART | SA_ONSTACK;
    return ::sigaction(kxPosixThreadSignal(), &action, nullptr) == 0;
}

// The starting thread may have blocked the signals. A fault whose signal is blocked ends the process at once.
void unblockSignals(bool areFaultsMeant)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, kxPosixThreadSignal());
    if (areFaultsMeant)
        for (const int signal : KX_POSIX_UNBLOCKABLE_FAULT_SIGNALS) sigaddset(&signals, signal);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

// Gives the thread a stack for handlers, unless something else did already, and takes it back.
class HandlerStackScope {
public:
    explicit HandlerStackScope(kxPosixHandlerStack& stack) : isGiven_(kxPosixHandlerStack::isMissing())
    {
        if (isGiven_) stack.give();
    }
    ~HandlerStackScope()
    {
        if (isGiven_) kxPosixHandlerStack::takeAway();
    }
    HandlerStackScope(const HandlerStackScope&) = delete;
    HandlerStackScope& operator=(const HandlerStackScope&) = delete;

private:
    const bool isGiven_;
};

// The thread's side, also when the body ends the thread by unwinding.
class Running {
public:
    explicit Running(kxPlatformThread* thread) : thread_(thread)
    {
        thread->id.store(kxPlatformThreadId());
        unblockSignals(thread->takesFaults);
        current = thread;
    }
    ~Running()
    {
        current = nullptr;
        noteOver(*thread_);
        release(thread_);
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    kxPlatformThread* const thread_;
};

void* run(void* argument)
{
    kxPlatformThread* const thread = static_cast<kxPlatformThread*>(argument);
    const Running running(thread);
    const HandlerStackScope stack(thread->handlerStack);
    thread->body(thread->argument);
    return nullptr;
}

// That of the first thread, when it is asked for first in a process, be it a forked one. What a thread has itself may
// come from another one, whose priority is not the process's.
int niceOfProcess()
{
    struct alignas(std::uint64_t) Known {  // aligned to be free of locks
        pid_t process;
        int nice;
    };
    static constinit std::atomic<Known> known{Known{0, 0}};
    const pid_t process = ::getpid();
    Known found = known.load();
    if (found.process != process) {
        found = {process, ::getpriority(PRIO_PROCESS, static_cast<id_t>(process))};
        known.store(found);
    }
    return found.nice;
}

// Joins a thread that has ended. A caller that is killed in the middle of it would keep all others from it.
bool join(kxPlatformThread& thread)
{
    kxPlatformThreadDelayKill();
    std::uint32_t state = kxPlatformThread::IDLE;
    if (thread.joining.compare_exchange_strong(state, kxPlatformThread::BUSY)) {
        const bool isDone = ::pthread_tryjoin_np(thread.handle, nullptr) == 0;
        state = isDone ? kxPlatformThread::DONE : kxPlatformThread::IDLE;
        thread.joining.store(state);
    }
    kxPlatformThreadAllowKill();
    return state == kxPlatformThread::DONE;
}

kxPlatformThread* start(kxPlatformThreadBody body, void* argument, bool takesFaults)
{
    static const bool isInstalled = installThreadSignal();
    if (!isInstalled) return nullptr;
    std::unique_ptr<kxPlatformThread> thread(new (std::nothrow)
                                                 kxPlatformThread(body, argument, takesFaults));
    if (thread == nullptr || ::pthread_create(&thread->handle, nullptr, run, thread.get()) != 0)
        return nullptr;
    return thread.release();
}

}  // namespace

std::uint32_t kxPlatformThreadId()
{
    if (cachedThreadId == 0) {
        // The only thread of a forked child has a new id.
        kxPosixAtEndOfForkInChild([] { cachedThreadId = 0; });
        cachedThreadId = static_cast<std::uint32_t>(::syscall(SYS_gettid));
    }
    return cachedThreadId;
}

kxPlatformThread* kxPlatformThreadStart(kxPlatformThreadBody body, void* argument)
{
    return start(body, argument, true);
}

kxPlatformThread* kxPosixStartThreadWithoutFaults(kxPlatformThreadBody body, void* argument)
{
    return start(body, argument, false);
}

bool kxPlatformThreadHasEnded(kxPlatformThread& thread, std::uint32_t waitMilliseconds)
{
    if (join(thread)) return true;
    if (waitMilliseconds == 0) return false;
    const std::int64_t deadline =
        kxPosixMonotonicNanoseconds() + waitMilliseconds * KX_POSIX_NANOSECONDS_PER_MILLISECOND;
    kxPlatformWaitWhile(thread.isOver, 0, waitMilliseconds);
    // What is left to the thread, its thread-local objects, is done in no time as a rule.
    timespec pause{0, kShortestPauseNanoseconds};
    while (!join(thread)) {
        if (kxPosixMonotonicNanoseconds() >= deadline) return false;
        ::clock_nanosleep(CLOCK_MONOTONIC, 0, &pause, nullptr);
        pause.tv_nsec = std::min(pause.tv_nsec * 2, kLongestPauseNanoseconds);
    }
    return true;
}

bool kxPlatformThreadKill(kxPlatformThread& thread)
{
    thread.isKilled.store(true);
    const long result =
        ::syscall(SYS_tgkill, ::getpid(), static_cast<pid_t>(thread.id.load()), kxPosixThreadSignal());
    if (result == 0 || errno == ESRCH) return true;
    thread.isKilled.store(false);
    return false;
}

void kxPlatformThreadClose(kxPlatformThread* thread)
{
    if (!join(*thread)) {
        ::pthread_detach(thread->handle);
        release(thread);
        return;
    }
    delete thread;
}

// In the child of a fork the thread is the process.
bool kxPosixMayKillCaller()
{
    return current != nullptr && current->process == ::getpid();
}

void kxPlatformThreadKillCaller()
{
    if (!kxPosixMayKillCaller()) return;
    // The next thread gets this one's memory, and must not find values of its own in it.
    for (pthread_key_t key = 0; key < PTHREAD_KEYS_MAX; ++key) pthread_setspecific(key, nullptr);
    noteOver(*current);
    for (;;) ::syscall(SYS_exit, -1);
}

void kxPlatformThreadDelayKill()
{
    killDelays = killDelays + 1;
}

void kxPlatformThreadAllowKill()
{
    killDelays = killDelays - 1;
    endIfKilled();
}

bool kxPlatformThreadAllowCancel(bool isAllowed)
{
    int before = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(isAllowed ? PTHREAD_CANCEL_ENABLE : PTHREAD_CANCEL_DISABLE, &before);
    return before == PTHREAD_CANCEL_ENABLE;
}

void kxPlatformThreadSetPriority(int steps)
{
    ::setpriority(PRIO_PROCESS, kxPlatformThreadId(), niceOfProcess() + steps * kNicePerStep);
}
