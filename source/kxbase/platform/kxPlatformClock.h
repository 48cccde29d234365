// Clocks of the system.
#pragma once

#include <cstdint>

// Seconds since 1 January 1970 UTC by the clock that the user sets; it may jump.
double kxPlatformWallSeconds();
// What the local time is ahead of UTC at this moment, negative when it is behind.
std::int32_t kxPlatformUtcOffsetSeconds();

// A counter of high resolution that runs evenly from a point of its own and never goes back.
std::uint64_t kxPlatformCounter();
double kxPlatformCounterSecondsPerTick();

// Asks the system to end sleeps and timed waits to the millisecond, for the rest of the process.
void kxPlatformRaiseTimerResolution();
