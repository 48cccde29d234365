// Threads in the system's numbering.
#pragma once

#include <cstdint>

// The system's id of the calling thread, never 0. Kept for each thread, so that asking costs no system call;
// right in a forked child as well.
std::uint32_t kxPlatformThreadId();
// The id that the calling thread had before it forked this process; 0 for every other thread.
std::uint32_t kxPlatformThreadIdBeforeFork();

// Sleeps at least the given time; signals do not cut it short.
void kxPlatformSleep(std::uint32_t milliseconds);
