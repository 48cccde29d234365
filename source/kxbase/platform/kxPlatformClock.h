// Clocks of the system.
#pragma once

#include <cstdint>

// Seconds since 1 January 1970 UTC by the clock that the user sets; it may jump.
double kxPlatformWallSeconds();

// A counter of high resolution that runs evenly from a point of its own and never goes back.
std::uint64_t kxPlatformCounter();
double kxPlatformCounterSecondsPerTick();

// Asks the system to end sleeps and timed waits to the millisecond, for the rest of the process.
void kxPlatformRaiseTimerResolution();
