// Threads of the library.
#pragma once

#include <cstdint>

class kxThread {
public:
    // Sleeps at least the given time; signals do not cut it short.
    static void sleep(std::uint32_t milliseconds);
};
