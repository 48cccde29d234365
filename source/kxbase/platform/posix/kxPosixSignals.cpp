#include "kxbase/platform/posix/kxPosixSignals.h"

#include <pthread.h>

void kxPosixRestoreDefaultAction(int signal)
{
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    ::sigaction(signal, &action, nullptr);
}

sigset_t kxPosixBlockAllSignals()
{
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    return before;
}

kxPosixSignalsBlocked::kxPosixSignalsBlocked() : before_(kxPosixBlockAllSignals()) {}

kxPosixSignalsBlocked::~kxPosixSignalsBlocked()
{
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}
