// The clock that runs evenly, and spans of its time. Safe in a signal handler.
#pragma once

#include <cstdint>
#include <ctime>

inline constexpr std::int64_t KX_POSIX_NANOSECONDS_PER_SECOND = 1000000000;
inline constexpr std::int64_t KX_POSIX_NANOSECONDS_PER_MILLISECOND = 1000000;

inline std::int64_t kxPosixMonotonicNanoseconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return std::int64_t{time.tv_sec} * KX_POSIX_NANOSECONDS_PER_SECOND + time.tv_nsec;
}

inline std::int64_t kxPosixMonotonicMilliseconds()
{
    return kxPosixMonotonicNanoseconds() / KX_POSIX_NANOSECONDS_PER_MILLISECOND;
}

// In the form that system calls take.
inline timespec kxPosixTimespecOf(std::int64_t nanoseconds)
{
    return {static_cast<time_t>(nanoseconds / KX_POSIX_NANOSECONDS_PER_SECOND),
            static_cast<long>(nanoseconds % KX_POSIX_NANOSECONDS_PER_SECOND)};
}
