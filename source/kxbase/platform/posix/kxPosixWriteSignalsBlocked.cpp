#include "kxbase/platform/posix/kxPosixWriteSignalsBlocked.h"

#include <ctime>

#include <pthread.h>

namespace {

constexpr int kSignals[] = {SIGPIPE, SIGXFSZ};

}  // namespace

kxPosixWriteSignalsBlocked::kxPosixWriteSignalsBlocked()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kSignals) sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, &mask_);
    ::sigpending(&pending_);
}

kxPosixWriteSignalsBlocked::~kxPosixWriteSignalsBlocked()
{
    constexpr timespec kNoTime{};
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kSignals)
        if (sigismember(&pending_, signal) == 0) sigaddset(&signals, signal);
    while (::sigtimedwait(&signals, nullptr, &kNoTime) > 0) {
    }
    pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
}
