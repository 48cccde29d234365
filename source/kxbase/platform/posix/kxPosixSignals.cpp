#include "kxbase/platform/posix/kxPosixSignals.h"

#include "kxbase/platform/posix/kxPosixFault.h"

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

kxPosixFaultsUnblocked::kxPosixFaultsUnblocked()
{
    sigset_t faults;
    sigemptyset(&faults);
    for (const int signal : KX_POSIX_UNBLOCKABLE_FAULT_SIGNALS) sigaddset(&faults, signal);
    pthread_sigmask(SIG_UNBLOCK, &faults, &before_);
}

kxPosixFaultsUnblocked::~kxPosixFaultsUnblocked()
{
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}
