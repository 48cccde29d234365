#include "kxbase/thread/kxThreadState.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxDropExceptions.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/thread/kxThread.h"
#include "kxbase/thread/kxThreadExceptionInterface.h"

#include <exception>
#include <new>
#include <utility>

namespace {

constexpr std::uint32_t kPauseMilliseconds = 1;
constexpr std::uint32_t kBeginPauses = 1000;
constexpr std::uint32_t kJoinPauseMilliseconds = 1000;
// The system may hold a killed thread in a call; nobody waits for that.
constexpr std::uint32_t kKillMilliseconds = 100;
constexpr const char* kExceptionText = "Thread %d threw exception ('%s') outside process()";

// Steps of the system for each priority, from the lowest.
constexpr int kPrioritySteps[] = {-2, -1, 0, 1, 2};
static_assert(std::size(kPrioritySteps) == KX_THREAD_HIGHEST + 1, "one step for every priority");

constinit std::atomic<kxThreadExceptionInterface*> exceptionHandler{nullptr};

constinit std::uint32_t activeThreads = 0;  // under their mutex
kxMutex& activeMutex()
{
    return kxProcessMutex<struct kxActiveThreads>();
}

constinit std::atomic<std::uint64_t> lastId{0};
// The state of the calling thread, also while its thread-local objects go; then the state itself may have gone.
thread_local std::uint64_t ownId = 0;

}  // namespace

// Holds the mutex. The thread itself never sleeps on it: were it killed when it had been woken to take the mutex
// next, the others who sleep on it would not be woken any more. Another thread is not killed while it holds it.
class kxThreadState::Guard {
public:
    explicit Guard(const kxThreadState& state) : mutex_(state.mutex_), isOwn_(state.isOwnThread())
    {
        if (isOwn_) {
            while (!mutex_.tryLock()) kxPlatformSleep(0);
        } else {
            kxPlatformThreadDelayKill();
            mutex_.lock();
        }
    }
    ~Guard()
    {
        mutex_.unlock();
        if (!isOwn_) kxPlatformThreadAllowKill();
    }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    kxMutex& mutex_;
    const bool isOwn_;
};

// The system's thread, if there is one; closed with the last that waits for it.
struct kxThreadState::OwnedThread {
    OwnedThread() = default;
    ~OwnedThread()
    {
        if (system != nullptr) kxPlatformThreadClose(system);
    }
    OwnedThread(const OwnedThread&) = delete;
    OwnedThread& operator=(const OwnedThread&) = delete;

    kxPlatformThread* system = nullptr;
};

// Forced unwinding of the thread comes by here as well.
class kxThreadState::Run {
public:
    explicit Run(kxThreadState& state) : state_(state)
    {
        ownId = state.id_;
        applyPriority(noteBegun());
        enrol();
    }
    ~Run()
    {
        {
            const Guard guard(state_);
            if (state_.runNumber_ == runNumber_) state_.leaveProcess();
        }
        state_.unref();
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    // The object whose process() is to be called, or null when it has gone.
    kxThread* enterProcess()
    {
        const Guard guard(state_);
        if (state_.object_ == nullptr) return nullptr;
        if ((state_.flags_ & KX_THREAD_INSIDE) == 0) {
            const kxBodyGuard counting(activeMutex());
            ++activeThreads;
        }
        state_.flags_ |= KX_THREAD_INSIDE;
        return state_.object_;
    }

private:
    // Answers the priority that the thread is to have.
    std::uint32_t noteBegun()
    {
        const Guard guard(state_);
        runNumber_ = state_.runNumber_;
        state_.threadId_ = kxPlatformThreadId();
        state_.flags_ |= KX_THREAD_RUNNING;
        state_.lastHeartbeat_ = kxClock::seconds();
        state_.begunRunNumber_.store(runNumber_);
        kxPlatformWakeAll(state_.begunRunNumber_);
        return state_.priority_;
    }
    static void applyPriority(std::uint32_t priority)
    {
        if (priority < std::size(kPrioritySteps)) kxPlatformThreadSetPriority(kPrioritySteps[priority]);
    }
    void enrol()
    {
        try {
            state_.performanceData_.enrol(kxPlatformThreadId());
        } catch (const std::bad_alloc&) {
            // Reported already; the thread can do without.
        }
    }

    kxThreadState& state_;
    std::uint32_t runNumber_ = 0;
};

// Keeps the state for a caller that waits, while its object may go.
class kxThreadState::Hold {
public:
    explicit Hold(kxThreadState& state) : state_(state) { state.ref(); }
    ~Hold() { state_.unref(); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

private:
    kxThreadState& state_;
};

kxThreadState::kxThreadState(kxThread& object) : id_(++lastId), object_(&object), priority_(KX_THREAD_NORMAL)
{}

void kxThreadState::unref()
{
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

void kxThreadState::body(void* state)
{
    Run run(*static_cast<kxThreadState*>(state));
    if (kxThread* const object = run.enterProcess()) callProcess(*object);
}

void kxThreadState::callProcess(kxThread& object)
{
    try {
        object.process();
    } catch (const std::exception& error) {
        reportException(error.what());
    } catch (const kxForcedUnwind&) {
        throw;
    } catch (...) {
        reportException("unknown exception");
    }
}

void kxThreadState::reportException(const char* text)
{
    const std::uint32_t threadId = kxPlatformThreadId();
    kxDropExceptions([&] {
        if (kxThreadExceptionInterface* const handler = exceptionHandler.load()) {
            handler->exceptionLeftProcess(threadId, text);
        }
    });
    kxDropExceptions([&] { kxMessage(KX_MESSAGE_FATAL, kExceptionText, threadId, text); });
}

bool kxThreadState::start(bool wait)
{
    const Hold hold(*this);
    std::uint32_t runNumber = 0;
    {
        const Guard guard(*this);
        refresh();
        if ((flags_ & KX_THREAD_RUNNING) != 0) return true;
        if (!startLocked()) return false;
        runNumber = runNumber_;
    }
    if (wait) waitUntilBegun(runNumber);
    return true;
}

std::shared_ptr<kxThreadState::OwnedThread> kxThreadState::makeThread() noexcept
{
    try {
        return std::make_shared<OwnedThread>();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// Whatever takes memory comes before the start, so that no thread runs without a handle. What is known of the last
// run gives way only when the system has not refused; the new thread waits for the mutex before it looks.
bool kxThreadState::startLocked()
{
    const std::shared_ptr<OwnedThread> thread = makeThread();
    if (thread == nullptr) return false;
    ref();
    thread->system = kxPlatformThreadStart(body, this);
    if (thread->system == nullptr) {
        unref();
        return false;
    }
    handle_ = Handle(thread, thread->system);
    threadId_ = 0;
    lastHeartbeat_ = kxClock::seconds();
    ++runNumber_;
    flags_ &= ~std::uint32_t{KX_THREAD_STOP};
    flags_ |= KX_THREAD_RUNNING;
    return true;
}

void kxThreadState::waitUntilBegun(std::uint32_t runNumber)
{
    for (std::uint32_t pause = 0; pause < kBeginPauses; ++pause) {
        std::uint32_t begun = 0;
        {
            const Guard guard(*this);
            begun = begunRunNumber_.load();
            if (begun == runNumber || runNumber_ != runNumber) return;
        }
        kxPlatformWaitWhile(begunRunNumber_, begun, kPauseMilliseconds);
    }
}

void kxThreadState::stop(bool wait)
{
    const Hold hold(*this);
    while (true) {
        {
            const Guard guard(*this);
            flags_ |= KX_THREAD_STOP;
        }
        checkHeartbeat();
        if (isOwnThread()) return;
        const Handle handle = handleToWaitFor();
        if (handle == nullptr) break;
        if (!wait) return;
        kxPlatformThreadHasEnded(*handle, kPauseMilliseconds);
    }
    kxPlatformSleep(kPauseMilliseconds);
}

void kxThreadState::join()
{
    const Hold hold(*this);
    while (const Handle handle = handleToWaitFor()) kxPlatformThreadHasEnded(*handle, kJoinPauseMilliseconds);
}

void kxThreadState::abandon()
{
    bool isLeftRunning = false;
    const void* object = nullptr;
    {
        const Guard guard(*this);
        refresh();
        object = std::exchange(object_, nullptr);
        flags_ |= KX_THREAD_STOP;
        isLeftRunning = (flags_ & KX_THREAD_RUNNING) != 0;
        handle_.reset();
    }
    if (isLeftRunning) kxMessage(KX_MESSAGE_WARNING, "kxThread (%x) deleted while its thread runs", object);
    unref();
}

bool kxThreadState::hasFlag(kxThreadFlag flag, bool check)
{
    const Guard guard(*this);
    if (check) beatOrWatch();
    refresh();
    return (flags_ & flag) != 0;
}

void kxThreadState::checkHeartbeat()
{
    const Guard guard(*this);
    beatOrWatch();
}

void kxThreadState::setWatchdogSeconds(double seconds)
{
    const Guard guard(*this);
    watchdogSeconds_ = seconds;
}

double kxThreadState::watchdogSeconds() const
{
    const Guard guard(*this);
    return watchdogSeconds_;
}

void kxThreadState::setPriority(std::uint32_t priority)
{
    const Guard guard(*this);
    priority_ = priority;
}

std::uint32_t kxThreadState::priority() const
{
    const Guard guard(*this);
    return priority_;
}

double kxThreadState::lastHeartbeatSeconds() const
{
    const Guard guard(*this);
    return lastHeartbeat_;
}

std::uint32_t kxThreadState::threadId() const
{
    const Guard guard(*this);
    return threadId_;
}

std::uint32_t kxThreadState::activeCount()
{
    const kxBodyGuard guard(activeMutex());
    return activeThreads;
}

void kxThreadState::setExceptionHandler(kxThreadExceptionInterface* handler)
{
    exceptionHandler.store(handler);
}

bool kxThreadState::isOwnThread() const
{
    return ownId == id_;
}

kxThreadState::Handle kxThreadState::handleToWaitFor()
{
    const Guard guard(*this);
    if (object_ == nullptr || isOwnThread()) return nullptr;
    refresh();
    return (flags_ & KX_THREAD_RUNNING) != 0 ? handle_ : nullptr;
}

void kxThreadState::beatOrWatch()
{
    if (isOwnThread()) {
        lastHeartbeat_ = kxClock::seconds();
        return;
    }
    if (!(watchdogSeconds_ > 0)) return;
    refresh();
    constexpr std::uint32_t kWatched = KX_THREAD_RUNNING | KX_THREAD_INSIDE;
    if ((flags_ & kWatched) == kWatched && kxClock::seconds() - watchdogSeconds_ > lastHeartbeat_) kill();
}

void kxThreadState::refresh()
{
    if (handle_ == nullptr || isOwnThread() || !kxPlatformThreadHasEnded(*handle_)) return;
    markStopped();
    takeBackFromEnded();
}

void kxThreadState::markStopped()
{
    flags_ &= ~std::uint32_t{KX_THREAD_RUNNING};
    flags_ |= KX_THREAD_STOP;
}

// Waits until the thread can no longer take the mutex before the mutex is free again.
void kxThreadState::kill()
{
    if (!kxPlatformThreadKill(*handle_)) return;
    markStopped();
    if (kxPlatformThreadHasEnded(*handle_, kKillMilliseconds)) takeBackFromEnded();
}

// A thread that ended inside process() was killed, and could not give back what it had.
void kxThreadState::takeBackFromEnded()
{
    if ((flags_ & KX_THREAD_INSIDE) == 0) return;
    leaveProcess();
    unref();
}

void kxThreadState::leaveProcess()
{
    performanceData_.withdraw();
    if ((flags_ & KX_THREAD_INSIDE) == 0) return;
    flags_ &= ~std::uint32_t{KX_THREAD_INSIDE};
    const kxBodyGuard counting(activeMutex());
    --activeThreads;
}
