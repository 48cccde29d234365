// How many forks led to this process, counted from the first call on; so that an object sees that it has come into a
// child, where what other threads had under way stays as it was.
//
// Threads: may be called from any thread, also before main and after it.
#pragma once

#include <cstdint>

std::uint32_t kxForkCount();
