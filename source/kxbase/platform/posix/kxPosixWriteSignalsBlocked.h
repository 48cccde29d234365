// The signals of failed writes: SIGPIPE and SIGXFSZ.
#pragma once

#include <csignal>

// Keeps them from the calling thread while it lives, so that a write that fails only says so. Those that waited before
// go on waiting. Safe in a signal handler.
class kxPosixWriteSignalsBlocked {
public:
    kxPosixWriteSignalsBlocked();
    ~kxPosixWriteSignalsBlocked();
    kxPosixWriteSignalsBlocked(const kxPosixWriteSignalsBlocked&) = delete;
    kxPosixWriteSignalsBlocked& operator=(const kxPosixWriteSignalsBlocked&) = delete;

private:
    sigset_t mask_, pending_;  // as they were
};
