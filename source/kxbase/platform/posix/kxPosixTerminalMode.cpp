#include "kxbase/platform/posix/kxPosixTerminalMode.h"

#include "kxbase/platform/posix/kxPosixHandlerStack.h"
#include "kxbase/platform/posix/kxPosixSignals.h"
#include "kxbase/platform/posix/kxPosixThread.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <iterator>

#include <pthread.h>
#include <unistd.h>

namespace {

// Signals that do not end a process by default, and the one that cannot be handled.
constexpr int kNotEndingSignals[] = {SIGCHLD, SIGCONT, SIGURG,  SIGWINCH, SIGSTOP,
                                     SIGTSTP, SIGTTIN, SIGTTOU, SIGKILL};

// Set for good when the process begins to end, so that no other thread takes the terminal once more.
std::atomic<bool> isEnding{false};

// Held around a change of the mode. Keeps every signal away: a stop in its middle would leave the terminal to the
// shell half taken, and changing the mode from the background would stop the process. Keeps the threads apart that take
// the terminal, give it back because of a fault and end the process. The holder's process is noted, because that of a
// parent is not there in a forked child to let go.
class ChangeLock {
public:
    ChangeLock()
    {
        constexpr timespec kPause{0, 50000};
        const pid_t own = ::getpid();
        for (pid_t holder = 0; !holder_.compare_exchange_strong(holder, own);) {
            if (holder != own) continue;
            holder = 0;
            ::nanosleep(&kPause, nullptr);
        }
    }
    ~ChangeLock() { holder_.store(0); }
    ChangeLock(const ChangeLock&) = delete;
    ChangeLock& operator=(const ChangeLock&) = delete;

private:
    const kxPosixSignalsBlocked signalsBlocked_;
    static constinit inline std::atomic<pid_t> holder_{0};
};

// A terminal that does not control the process has no background, and one that hung up is nobody's: then the
// question fails.
bool isInForegroundOf(int terminal)
{
    const pid_t foreground = ::tcgetpgrp(terminal);
    return foreground < 0 || foreground == ::getpgrp();
}

// Ends the process by the same signal: it is pending until the handler returns. A fault that was not sent
// happens again by itself.
void onEndingSignal(int signal)
{
    const int error = errno;
    kxPosixTerminalMode::giveAllBackForGood();
    kxPosixRestoreDefaultAction(signal);
    ::raise(signal);
    errno = error;
}

void installUnlessHandled(int signal, void (*handler)(int))
{
    struct sigaction before {};
    if (::sigaction(signal, nullptr, &before) != 0 || before.sa_handler != SIG_DFL) return;
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART | SA_ONSTACK;
    sigfillset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
}

void onStop(int signal)
{
    const int error = errno;
    kxPosixTerminalMode::giveAllBack();
    kxPosixRestoreDefaultAction(signal);
    sigset_t stop, before;
    sigemptyset(&stop);
    sigaddset(&stop, signal);
    ::raise(signal);
    pthread_sigmask(SIG_UNBLOCK, &stop, &before);  // stops here
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    installUnlessHandled(signal, onStop);
    errno = error;
}

void changeForConsole(termios& mode)
{
    mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ECHONL | IEXTEN);
    mode.c_iflag &= ~static_cast<tcflag_t>(ICRNL | INLCR | IGNCR);
}

void changeForDialog(termios& mode)
{
    mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ECHONL | ISIG | IEXTEN);
}

}  // namespace

constinit kxPosixTerminalMode kxPosixConsoleMode{changeForConsole};
constinit kxPosixTerminalMode kxPosixDialogMode{changeForDialog};

bool kxPosixTerminalMode::take(int terminal)
{
    if (isEnding.load()) return false;
    if (!isInForegroundOf(terminal)) {
        isToBeTakenAgain_.store(true);
        return false;
    }
    if (isTaken() && !isToBeTakenAgain_.load()) return true;
    static const bool handlersInstalled = (installHandlers(), true);
    (void)handlersInstalled;

    const ChangeLock lock;
    if (isEnding.load() || !isInForegroundOf(terminal)) return false;
    // While the mode is still ours, what was found before it holds; else it is found anew.
    if (!isTaken() && ::tcgetattr(terminal, &before_) != 0) return true;  // it hung up
    isToBeTakenAgain_.store(false);
    terminal_ = terminal;
    takenBy_.store(::getpid());
    isTaken_.store(true);
    termios changed = before_;
    change_(changed);
    changed.c_cc[VMIN] = 1;
    changed.c_cc[VTIME] = 0;
    ::tcsetattr(terminal, TCSANOW, &changed);
    return true;
}

bool kxPosixTerminalMode::isTaken() const
{
    return isTaken_.load() && takenBy_.load() == ::getpid();
}

void kxPosixTerminalMode::giveBack()
{
    const ChangeLock lock;
    giveBackLocked();
}

void kxPosixTerminalMode::giveBackLocked()
{
    if (takenBy_.load() != ::getpid() || !isTaken_.exchange(false)) return;
    // In the background the terminal is somebody else's, who has set it up already.
    if (isInForegroundOf(terminal_)) ::tcsetattr(terminal_, TCSANOW, &before_);
}

void kxPosixTerminalMode::giveAllBack()
{
    const ChangeLock lock;
    kxPosixDialogMode.giveBackLocked();
    kxPosixConsoleMode.giveBackLocked();
}

void kxPosixTerminalMode::giveAllBackForGood()
{
    isEnding.store(true);
    giveAllBack();
}

bool kxPosixTerminalMode::isEndingBy(void (*handler)(int))
{
    return handler == onEndingSignal;
}

// A stop that could not be caught leaves the terminal to whoever was in the foreground meanwhile.
void kxPosixTerminalMode::onContinue(int)
{
    kxPosixDialogMode.isToBeTakenAgain_.store(true);
    kxPosixConsoleMode.isToBeTakenAgain_.store(true);
}

void kxPosixTerminalMode::installHandlers()
{
    kxPosixInstallHandlerStack();
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        const bool ends = std::find(std::begin(kNotEndingSignals), std::end(kNotEndingSignals), signal) ==
                          std::end(kNotEndingSignals);
        if (ends && signal != kxPosixThreadSignal()) installUnlessHandled(signal, onEndingSignal);
    }
    installUnlessHandled(SIGTSTP, onStop);
    installUnlessHandled(SIGCONT, onContinue);
    std::atexit(giveAllBackForGood);
    std::at_quick_exit(giveAllBackForGood);
}
