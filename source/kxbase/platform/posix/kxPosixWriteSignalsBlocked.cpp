#include "kxbase/platform/posix/kxPosixWriteSignalsBlocked.h"

#include <ctime>

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

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
    // By the system alone: the call of the C library may end a thread that is being killed, here in a destructor.
    while (::syscall(SYS_rt_sigtimedwait, &signals, nullptr, &kNoTime, std::size_t{_NSIG / 8}) > 0) {
    }
    pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
}
