// Threads in the system's numbering.
#pragma once

#include <cstdint>

// The system's id of the calling thread, never 0. Kept for each thread, so that asking costs no system call;
// right in a forked child as well.
std::uint32_t kxPlatformThreadId();

// Sleeps at least the given time; signals do not cut it short.
void kxPlatformSleep(std::uint32_t milliseconds);
