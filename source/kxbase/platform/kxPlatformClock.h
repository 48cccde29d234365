// Clocks of the system.
//
// Threads: any, also before main and after it. kxPlatformWallSeconds, kxPlatformCounter and
//          kxPlatformCounterSecondsPerTick are safe in a signal handler; kxPlatformUtcOffsetSeconds takes locks of the
//          C library and is not.
// Errors:  none.
#pragma once

#include <cstdint>

// Seconds since 1 January 1970 UTC by the clock that the user sets; it may jump.
double kxPlatformWallSeconds();
// What the local time is ahead of UTC at this moment, negative when it is behind; 0 also where that is not known.
std::int32_t kxPlatformUtcOffsetSeconds();

// A counter of high resolution that runs evenly from a point of its own and never goes back.
std::uint64_t kxPlatformCounter();
double kxPlatformCounterSecondsPerTick();

// Asks the system to end sleeps and timed waits to the millisecond, for the rest of the process.
void kxPlatformRaiseTimerResolution();
