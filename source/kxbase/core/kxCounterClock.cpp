#include "kxbase/core/kxCounterClock.h"

#include "kxbase/core/kxBodyGuard.h"

double kxCounterClock::seconds()
{
    Base base;
    if (!readBase(base)) return secondsOfNewBase();
    // Read after the base, so that a base just made by another thread lies behind it.
    const std::uint64_t count = counter_();
    if (count < base.count) return secondsOfNewBase();
    return base.seconds + static_cast<double>(count - base.count) * secondsPerTick_;
}

double kxCounterClock::secondsOfNewBase()
{
    const kxBodyGuard guard(mutex_);
    Base base;
    if (!readBase(base)) {
        base = start_();
        publish(base);
    }
    const std::uint64_t count = counter_();
    if (count < base.count) {
        base.seconds -= static_cast<double>(base.count - count) * secondsPerTick_;
        base.count = count;
        publish(base);
    }
    return base.seconds + static_cast<double>(count - base.count) * secondsPerTick_;
}

bool kxCounterClock::readBase(Base& base) const noexcept
{
    const std::uint64_t edition = edition_.load(std::memory_order_acquire);
    if (edition == 0 || edition % 2 != 0) return false;
    base.seconds = baseSeconds_.load(std::memory_order_acquire);
    base.count = baseCount_.load(std::memory_order_acquire);
    return edition_.load(std::memory_order_relaxed) == edition;
}

void kxCounterClock::publish(const Base& base) noexcept
{
    const std::uint64_t edition = edition_.load(std::memory_order_relaxed);
    edition_.store(edition + 1, std::memory_order_relaxed);
    baseSeconds_.store(base.seconds, std::memory_order_release);
    baseCount_.store(base.count, std::memory_order_release);
    edition_.store(edition + 2, std::memory_order_release);
}
