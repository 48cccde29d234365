// Random bytes of the system's generator, fit for keys and identifiers.
//
// Threads: any, also before main and after it.
#pragma once

#include <cstddef>

// Fills the block. Waits only before the system has collected randomness for the first time after it was
// started. Answers false, with the block in any state, when the system has no generator.
bool kxPlatformRandom(void* bytes, std::size_t count);
