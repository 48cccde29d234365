// Actions and masks of signals. Safe in a signal handler.
#pragma once

#include <csignal>

void kxPosixRestoreDefaultAction(int signal);

// Keeps every signal from the calling thread; answers what was kept from it before.
sigset_t kxPosixBlockAllSignals();

// Keeps every signal from the calling thread while it lives.
class kxPosixSignalsBlocked {
public:
    kxPosixSignalsBlocked();
    ~kxPosixSignalsBlocked();
    kxPosixSignalsBlocked(const kxPosixSignalsBlocked&) = delete;
    kxPosixSignalsBlocked& operator=(const kxPosixSignalsBlocked&) = delete;

private:
    const sigset_t before_;
};

// Lets the signals of faults, but for that of abort(), which does so by itself, through to the calling thread while it lives.
class kxPosixFaultsUnblocked {
public:
    kxPosixFaultsUnblocked();
    ~kxPosixFaultsUnblocked();
    kxPosixFaultsUnblocked(const kxPosixFaultsUnblocked&) = delete;
    kxPosixFaultsUnblocked& operator=(const kxPosixFaultsUnblocked&) = delete;

private:
    sigset_t before_;
};
