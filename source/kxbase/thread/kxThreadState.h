// What a kxThread and its system thread share, so that either may go first. Part of kxThread.
//
// Ownership: counted: the object holds one reference, the body of a run another, and so does who starts, stops or
//            joins.
// Threads:   every operation may be called from any thread. The mutex guards all fields but the atomic ones and
//            the record of performance data, which has a mutex of its own. A thread is killed only under the
//            mutex, so that it is never killed while it holds it.
#pragma once

#include "kxbase/core/kxMutex.h"
#include "kxbase/thread/kxPerformanceThreadData.h"

#include <memory>

class kxThread;
class kxThreadExceptionInterface;
struct kxPlatformThread;

enum kxThreadFlag : std::uint32_t {
    KX_THREAD_STOP = 1U << 0,     // asked to stop, or stopped
    KX_THREAD_RUNNING = 1U << 1,  // started and not known to have ended
    // Bit 2 has no meaning.
    KX_THREAD_INSIDE = 1U << 3,  // in process(), and counted as active
};

class kxThreadState {
public:
    explicit kxThreadState(kxThread& object);
    kxThreadState(const kxThreadState&) = delete;
    kxThreadState& operator=(const kxThreadState&) = delete;

    bool start(bool wait);
    void stop(bool wait);
    void join();
    // The object goes, and gives up its reference.
    void abandon();
    bool hasFlag(kxThreadFlag flag, bool check);
    void checkHeartbeat();

    void setWatchdogSeconds(double seconds);
    double watchdogSeconds() const;
    void setPriority(std::uint32_t priority);
    std::uint32_t priority() const;
    double lastHeartbeatSeconds() const;
    std::uint32_t threadId() const;

    static std::uint32_t activeCount();
    static void setExceptionHandler(kxThreadExceptionInterface* handler);

private:
    class Guard;
    class Hold;
    // One run of the body, on its thread.
    class Run;
    struct OwnedThread;
    // What waits for the end of a thread may outlast the handle that is kept here.
    using Handle = std::shared_ptr<kxPlatformThread>;

    ~kxThreadState() = default;
    void ref() { references_.fetch_add(1, std::memory_order_relaxed); }
    void unref();

    static void body(void* state);
    static void callProcess(kxThread& object);
    static void reportException(const char* text);

    bool isOwnThread() const;
    static std::shared_ptr<OwnedThread> makeThread() noexcept;
    void waitUntilBegun(std::uint32_t runNumber);
    // The handle to wait with, or null when there is nothing to wait for.
    Handle handleToWaitFor();

    // Each of the following requires the mutex.
    bool startLocked();
    void beatOrWatch();
    void refresh();
    void markStopped();
    void kill();
    void takeBackFromEnded();
    void leaveProcess();

    const std::uint64_t id_;  // no other state ever has it
    std::atomic<std::uint32_t> references_{1};
    mutable kxMutex mutex_;
    kxThread* object_;  // null once it has gone
    std::uint32_t flags_ = 0;
    std::uint32_t threadId_ = 0;
    Handle handle_;
    double lastHeartbeat_ = 0;
    double watchdogSeconds_ = 0;
    std::uint32_t priority_;
    std::uint32_t runNumber_ = 0;  // of the last start, counted from 1
    // Of the last run whose body has begun; starters sleep on it.
    std::atomic<std::uint32_t> begunRunNumber_{0};
    kxPerformanceThreadData performanceData_;  // of the last run
};
