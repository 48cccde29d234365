// A thread: a class derives from kxThread and does its work in process(), which returns when it finds the thread
// stopping.
//
//     class Counter : public kxThread {
//     public:
//         ~Counter() override { stop(true); }
//     private:
//         void process() override { while (!isStopping()) ++count_; }
//         ...
//
// Watchdog: a thread that has been in process() without a heartbeat for longer than the time-out is killed by the
// next heartbeat check of another thread; stop, isRunning and isStopping include one. Killing is a last resort:
// the thread ends wherever it is. Nothing that it held is released; a lock that it held stays locked, the
// allocator's and the library's included. A thread that has blocked the signal for it is killed when it lets
// the signal through.
//
// Ownership: the object may be destroyed by anybody when its thread has ended. A derived class stops and waits in
//            its own destructor, since process() must not outlive its members. A thread that still runs when
//            the object goes is told to stop, a Warning is sent, and the thread ends by itself.
// Threads:   every operation may be called from any thread, also from the thread itself. No lock is held while
//            process() runs.
// Errors:    an exception that leaves process() ends the thread, goes to the exception handler and is a Fatal
//            message. Forced unwinding, which is what the system's calls to end or cancel a thread do inside
//            process() (pthread_exit, pthread_cancel), destroys what process() has on the stack and ends the
//            thread as a return does, without a message.
// Units:     time-outs and heartbeats are clock seconds, see kxClock.
#pragma once

#include <cstdint>

class kxThreadExceptionInterface;
class kxThreadState;

enum kxThreadPriority : std::uint32_t {
    KX_THREAD_LOWEST,
    KX_THREAD_BELOW_NORMAL,
    KX_THREAD_NORMAL,
    KX_THREAD_ABOVE_NORMAL,
    KX_THREAD_HIGHEST,
};

class kxThread {
public:
    kxThread();
    virtual ~kxThread() noexcept(false);
    kxThread(const kxThread&) = delete;
    kxThread& operator=(const kxThread&) = delete;

    // Starts the thread unless it runs, and waits, if asked, until it has begun, at most a second. False when
    // the system refuses a thread. A thread that has ended may be started again.
    bool start(bool wait = true);
    // Asks the thread to stop and waits, if asked, until it has ended or the object goes. On the thread itself
    // it does not wait.
    void stop(bool wait = true);
    // Waits until the thread has ended or the object goes. Returns at once on the thread itself, and when the
    // thread was never started.
    void join();

    // With `check`, a heartbeat check is made first.
    bool isRunning(bool check = true);
    // True as well once the thread has ended.
    bool isStopping(bool check = true);
    // On the thread itself: makes a heartbeat. On another one: kills the thread when its heartbeat is overdue.
    void checkHeartbeat();

    // 0 disables the watchdog, as it is at first.
    void setWatchdogSeconds(double seconds);
    double watchdogSeconds() const;
    // One of kxThreadPriority, around the priority of the process, whichever thread calls start(); any other value
    // leaves what the system gives the thread, which may be that of its starter. Takes effect at the next start;
    // where the system refuses, as it may to a thread that a lower one starts, the priority stays.
    void setPriority(std::uint32_t priority);
    std::uint32_t priority() const;
    double lastHeartbeatSeconds() const;
    // The system's id of the thread; 0 from a start until it has begun.
    std::uint32_t threadId() const;

    // Threads that are inside process() now.
    static std::uint32_t activeCount();
    // Sleeps at least the given time; signals do not cut it short.
    static void sleep(std::uint32_t milliseconds);
    // Installs the handler of exceptions that leave process(); null removes it, without waiting for a call of it
    // that is in progress. Works before main.
    static void setExceptionHandler(kxThreadExceptionInterface* handler);

protected:
    // The work of the thread.
    virtual void process() = 0;

private:
    friend class kxThreadState;

    kxThreadState& state_;
};
