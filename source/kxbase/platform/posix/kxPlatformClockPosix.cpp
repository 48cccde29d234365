#include "kxbase/platform/kxPlatformClock.h"

#include <ctime>

namespace {

constexpr std::uint64_t kNanosecondsPerSecond = 1000000000;

timespec timeOf(clockid_t clock)
{
    timespec time{};
    ::clock_gettime(clock, &time);
    return time;
}

}  // namespace

double kxPlatformWallSeconds()
{
    const timespec time = timeOf(CLOCK_REALTIME);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

std::int32_t kxPlatformUtcOffsetSeconds()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    return ::localtime_r(&now, &local) != nullptr ? static_cast<std::int32_t>(local.tm_gmtoff) : 0;
}

std::uint64_t kxPlatformCounter()
{
    const timespec time = timeOf(CLOCK_MONOTONIC);
    return static_cast<std::uint64_t>(time.tv_sec) * kNanosecondsPerSecond +
           static_cast<std::uint64_t>(time.tv_nsec);
}

double kxPlatformCounterSecondsPerTick()
{
    return 1e-9;
}

// Sleeps end within microseconds as it is.
void kxPlatformRaiseTimerResolution() {}
