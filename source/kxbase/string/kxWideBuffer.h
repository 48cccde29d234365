// Buffers for wide text that belong to the calling thread.
//
// Each thread has a ring of KX_STRING_WIDE_BUFFERS buffers, which are used in turn.
//
// Ownership: the buffers are never freed. Those of a thread that has ended serve the next thread that asks, so
//            that what was converted before the end of main can still be read by static destructors.
// Threads:   any.
// Errors:    a failed allocation is reported and throws std::bad_alloc; the buffers stay as they are.
// Units:     16-bit units.
#pragma once

#include <cstdint>

// The calling thread's next buffer, with room for that many units.
char16_t* kxNextWideBuffer(std::uint32_t units);
