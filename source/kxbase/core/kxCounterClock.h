// Seconds from a counter and the time at which it was first read.
//
// The time is base + (counter - base count) * seconds per tick. A counter that reads lower than the base count
// moves the base back by as much and becomes the base count, so that the time follows the counter both ways.
//
// Threads: seconds() may be called from any thread. It takes a lock for the first call and for a new base only.
// Errors:  none.
// Units:   seconds; the counter's ticks have the length given.
#pragma once

#include "kxbase/core/kxMutex.h"

class kxCounterClock {
public:
    struct Base {
        double seconds;
        std::uint64_t count;
    };
    using Start = Base (*)();
    using Counter = std::uint64_t (*)();

    // Both functions are called by seconds() alone, `start` once.
    kxCounterClock(Start start, Counter counter, double secondsPerTick) noexcept
        : start_(start), counter_(counter), secondsPerTick_(secondsPerTick)
    {}

    double seconds();

private:
    double secondsOfNewBase();
    bool readBase(Base& base) const noexcept;
    void publish(const Base& base) noexcept;

    const Start start_;
    const Counter counter_;
    const double secondsPerTick_;
    kxMutex mutex_;  // held while a base is made
    // Odd while the base changes, 0 before there is one: a base is whole when it was read between two equal,
    // even editions.
    std::atomic<std::uint64_t> edition_{0};
    std::atomic<double> baseSeconds_{0};
    std::atomic<std::uint64_t> baseCount_{0};
};
