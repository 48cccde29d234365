#include "kxbase/platform/kxPlatformClock.h"
#include "kxbase/platform/posix/kxPosixTime.h"

#include <ctime>

double kxPlatformWallSeconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME, &time);
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
    return static_cast<std::uint64_t>(kxPosixMonotonicNanoseconds());
}

double kxPlatformCounterSecondsPerTick()
{
    return 1e-9;
}

// Sleeps end within microseconds as it is.
void kxPlatformRaiseTimerResolution() {}
