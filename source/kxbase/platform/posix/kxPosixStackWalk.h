// Walks the stack of the calling thread, without allocating or locking.
#pragma once

#include "kxbase/platform/kxPlatformCrash.h"

// The program counter of the context that a signal handler was given; 0 on processors that are not known here.
std::uintptr_t kxPosixProgramCounter(const void* context);

// Writes the frames from the one that a signal interrupted on, at least that one. After a call to where no code is,
// the address called stands alone as the first and the caller follows; the context is changed for that. `count` is
// up to date at any time, so that it holds when the walk itself faults.
void kxPosixWalkInterrupted(void* context, bool isBadCall, kxPlatformFrame* frames, std::uint32_t capacity,
                            volatile std::uint32_t& count);
// Writes the frames of the calling thread from the one that stands at the address on; answers how many.
std::uint32_t kxPosixWalkFrom(std::uintptr_t address, kxPlatformFrame* frames, std::uint32_t capacity);
