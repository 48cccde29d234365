#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/platform/posix/kxPosixThreadSignal.h"

#include <atomic>
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
    pthread_t handle{};
    std::atomic<std::uint32_t> id{0};
    std::atomic<std::uint32_t> joining{IDLE};
    std::atomic<std::uint32_t> holders{BOTH};
    char handlerStack[64 * 1024];

    kxPlatformThread(kxPlatformThreadBody threadBody, void* bodyArgument)
        : body(threadBody), argument(bodyArgument)
    {}
};

namespace {

constexpr int kNicePerStep = -5;
constexpr std::int64_t kNanosecondsPerMillisecond = 1000000;
constexpr std::int64_t kNanosecondsPerSecond = 1000000000;

// The calling thread's own, as long as it may be killed. Also read by the handler.
thread_local kxPlatformThread* volatile current = nullptr;

// Nanoseconds of a clock.
std::int64_t now(clockid_t clock)
{
    timespec time{};
    ::clock_gettime(clock, &time);
    return std::int64_t{time.tv_sec} * kNanosecondsPerSecond + time.tv_nsec;
}

void release(kxPlatformThread* thread)
{
    if (thread->holders.exchange(kxPlatformThread::ONE) == kxPlatformThread::ONE) delete thread;
}

// A sender that does not name the thread means somebody else, whose id the thread has got since.
void onThreadSignal(int, siginfo_t* info, void*)
{
    if (info->si_code == SI_QUEUE && info->si_value.sival_ptr == current) kxPlatformThreadKillCaller();
}

bool installThreadSignal()
{
    struct sigaction action {};
    action.sa_sigaction = onThreadSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART | SA_ONSTACK;
    return ::sigaction(kxPosixThreadSignal(), &action, nullptr) == 0;
}

// The starting thread may have blocked the signal.
void unblockThreadSignal()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, kxPosixThreadSignal());
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

// Gives the thread a stack for handlers, unless something else did already, and takes it back.
class HandlerStack {
public:
    explicit HandlerStack(kxPlatformThread& thread)
    {
        stack_t present{};
        ::sigaltstack(nullptr, &present);
        isOwn_ = (present.ss_flags & SS_DISABLE) != 0;
        if (!isOwn_) return;
        stack_t own{};
        own.ss_sp = thread.handlerStack;
        own.ss_size = sizeof(thread.handlerStack);
        ::sigaltstack(&own, nullptr);
    }
    ~HandlerStack()
    {
        stack_t none{};
        none.ss_flags = SS_DISABLE;
        if (isOwn_) ::sigaltstack(&none, nullptr);
    }
    HandlerStack(const HandlerStack&) = delete;
    HandlerStack& operator=(const HandlerStack&) = delete;

private:
    bool isOwn_;
};

// The thread's side, also when the body ends the thread by unwinding.
class Running {
public:
    explicit Running(kxPlatformThread* thread) : thread_(thread)
    {
        thread->id.store(kxPlatformThreadId());
        unblockThreadSignal();
        current = thread;
    }
    ~Running()
    {
        current = nullptr;
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
    const HandlerStack stack(*thread);
    thread->body(thread->argument);
    return nullptr;
}

// Waits by the wall clock, the only one that every C library can wait by here; a user who sets it changes how
// long a thread that does not end is waited for.
bool waitForEnd(pthread_t thread, std::int64_t nanoseconds)
{
    if (nanoseconds <= 0) return ::pthread_tryjoin_np(thread, nullptr) == 0;
    const std::int64_t end = now(CLOCK_REALTIME) + nanoseconds;
    const timespec deadline{static_cast<time_t>(end / kNanosecondsPerSecond),
                            static_cast<long>(end % kNanosecondsPerSecond)};
    return ::pthread_timedjoin_np(thread, nullptr, &deadline) == 0;
}

bool join(kxPlatformThread& thread, std::int64_t nanoseconds)
{
    std::uint32_t expected = kxPlatformThread::IDLE;
    if (!thread.joining.compare_exchange_strong(expected, kxPlatformThread::BUSY)) {
        return expected == kxPlatformThread::DONE;
    }
    const bool isDone = waitForEnd(thread.handle, nanoseconds);
    thread.joining.store(isDone ? kxPlatformThread::DONE : kxPlatformThread::IDLE);
    return isDone;
}

}  // namespace

kxPlatformThread* kxPlatformThreadStart(kxPlatformThreadBody body, void* argument)
{
    static const bool isInstalled = installThreadSignal();
    std::unique_ptr<kxPlatformThread> thread(isInstalled ? new (std::nothrow) kxPlatformThread(body, argument)
                                                         : nullptr);
    if (thread == nullptr || ::pthread_create(&thread->handle, nullptr, run, thread.get()) != 0)
        return nullptr;
    return thread.release();
}

bool kxPlatformThreadHasEnded(kxPlatformThread& thread, std::uint32_t waitMilliseconds)
{
    if (waitMilliseconds == 0) return join(thread, 0);
    const std::int64_t deadline = now(CLOCK_MONOTONIC) + waitMilliseconds * kNanosecondsPerMillisecond;
    while (true) {
        const std::int64_t left = deadline - now(CLOCK_MONOTONIC);
        if (join(thread, left)) return true;
        if (left <= 0) return false;
        // Another thread waits for the same end.
        if (thread.joining.load() == kxPlatformThread::BUSY) kxPlatformSleep(1);
    }
}

void kxPlatformThreadKill(kxPlatformThread& thread)
{
    siginfo_t info{};
    info.si_code = SI_QUEUE;
    info.si_pid = ::getpid();
    info.si_uid = ::getuid();
    info.si_value.sival_ptr = &thread;
    ::syscall(SYS_rt_tgsigqueueinfo, ::getpid(), static_cast<pid_t>(thread.id.load()), kxPosixThreadSignal(),
              &info);
}

void kxPlatformThreadClose(kxPlatformThread* thread)
{
    if (!join(*thread, 0)) {
        ::pthread_detach(thread->handle);
        release(thread);
        return;
    }
    delete thread;
}

void kxPlatformThreadKillCaller()
{
    if (current == nullptr) return;
    // The next thread gets this one's memory, and must not find values of its own in it.
    for (pthread_key_t key = 0; key < PTHREAD_KEYS_MAX; ++key) pthread_setspecific(key, nullptr);
    for (;;) ::syscall(SYS_exit, -1);
}

void kxPlatformThreadSetPriority(int steps)
{
    const id_t thread = kxPlatformThreadId();
    const int nice = ::getpriority(PRIO_PROCESS, thread);
    ::setpriority(PRIO_PROCESS, thread, nice + steps * kNicePerStep);
}
