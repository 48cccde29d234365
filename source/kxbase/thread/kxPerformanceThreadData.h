// What is known of the running of one kxThread.
//
// A record exists from the moment the thread has begun until it has ended or been killed.
//
// Threads: every operation may be called from any thread.
// Errors:  registering throws std::bad_alloc.
#pragma once

#include <cstdint>

class kxPerformanceThreadData {
public:
    // Copies the record of a running thread; false when there is none.
    static bool get(std::uint32_t threadId, kxPerformanceThreadData& copy);
    // Threads that have a record now.
    static std::uint32_t count();

    std::uint32_t threadId() const { return threadId_; }
    // Clock seconds at which the thread began.
    double startSeconds() const { return startSeconds_; }

private:
    friend class kxThreadState;

    void enrol(std::uint32_t threadId);
    void withdraw();

    std::uint32_t threadId_ = 0;  // 0 while not enrolled
    double startSeconds_ = 0;
};
