// Descriptor calls shared by the POSIX files of this folder.
#pragma once

#include <cstdint>

// The time as poll takes it, which knows fewer milliseconds.
int kxPosixPollTime(std::uint32_t milliseconds);

// Waits until the descriptor can be read or written, or the time has passed. `events` are those of poll. Signals do not
// cut the wait short when it is for ever. Answers the events seen; 0 when the time passed.
short kxPosixWait(int descriptor, short events, std::uint32_t milliseconds);

// A descriptor above those of the standard streams for a newly opened one, which is closed when it is one of
// them. Answers -1, with errno set, for -1 and when there is no descriptor left.
int kxPosixAboveStandardStreams(int descriptor);
