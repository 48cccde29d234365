#include "kxbase/platform/kxPlatformConsole.h"
#include "kxbase/platform/posix/kxPosixThreadSignal.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iterator>

#include <fcntl.h>
#include <pthread.h>
#include <termios.h>
#include <unistd.h>

namespace {

// Signals that do not end a process by default, and the one that cannot be handled.
constexpr int kNotEndingSignals[] = {SIGCHLD, SIGCONT, SIGURG,  SIGWINCH, SIGSTOP,
                                     SIGTSTP, SIGTTIN, SIGTTOU, SIGKILL};

// State of the terminal, touched by the thread that uses the console and by signal handlers.
termios foundMode;                          // as it was before raw mode; valid while isRaw
std::atomic<bool> isRaw{false};             // the terminal is in raw mode by our doing
std::atomic<bool> isToBeTakenAgain{false};  // somebody else may have set the mode since it was taken
std::atomic<pid_t> takenBy{0};              // a forked child must not give back what its parent holds
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<pid_t>::is_always_lock_free,
              "used in signal handlers");

// Keeps every signal away from a change of the mode: a stop in its middle would leave the terminal to the
// shell half taken, and changing the mode from the background would stop the process.
class SignalsBlocked {
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_;
};

// A terminal that does not control the process has no background, and one that hung up is nobody's: then the
// question fails.
bool isInForeground()
{
    const pid_t foreground = ::tcgetpgrp(STDIN_FILENO);
    return foreground < 0 || foreground == ::getpgrp();
}

void defaultActionOf(int signal)
{
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    ::sigaction(signal, &action, nullptr);
}

// Ends the process by the same signal: it is pending until the handler returns. A fault that was not sent
// happens again by itself.
void onEndingSignal(int signal)
{
    const int error = errno;
    kxPlatformConsoleRestore();
    defaultActionOf(signal);
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
    kxPlatformConsoleRestore();
    defaultActionOf(signal);
    sigset_t stop, before;
    sigemptyset(&stop);
    sigaddset(&stop, signal);
    ::raise(signal);
    pthread_sigmask(SIG_UNBLOCK, &stop, &before);  // stops here
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    installUnlessHandled(signal, onStop);
    errno = error;
}

// A stop that could not be caught leaves the terminal to whoever was in the foreground meanwhile.
void onContinue(int)
{
    isToBeTakenAgain.store(true);
}

// A stack that has overflowed has no room for the handler.
void installHandlerStack()
{
    static char room[64 * 1024];
    stack_t present{};
    if (::sigaltstack(nullptr, &present) != 0 || (present.ss_flags & SS_DISABLE) == 0) return;
    stack_t own{};
    own.ss_sp = room;
    own.ss_size = sizeof(room);
    ::sigaltstack(&own, nullptr);
}

void installHandlers()
{
    installHandlerStack();
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        const bool ends = std::find(std::begin(kNotEndingSignals), std::end(kNotEndingSignals), signal) ==
                          std::end(kNotEndingSignals);
        if (ends && signal != kxPosixThreadSignal()) installUnlessHandled(signal, onEndingSignal);
    }
    installUnlessHandled(SIGTSTP, onStop);
    installUnlessHandled(SIGCONT, onContinue);
    std::atexit(kxPlatformConsoleRestore);
    std::at_quick_exit(kxPlatformConsoleRestore);
}

termios rawModeOf(termios mode)
{
    mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ECHONL | IEXTEN);
    mode.c_iflag &= ~static_cast<tcflag_t>(ICRNL | INLCR | IGNCR);
    mode.c_cc[VMIN] = 1;
    mode.c_cc[VTIME] = 0;
    return mode;
}

}  // namespace

void kxPlatformConsoleOpenStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // The lowest free descriptor is taken, which is this one.
        if (::fcntl(stream, F_GETFD) < 0 && errno == EBADF) (void)::open("/dev/null", O_RDWR);
    }
}

kxPlatformFileHandle kxPlatformConsoleInput()
{
    return STDIN_FILENO;
}

kxPlatformFileHandle kxPlatformConsoleOutput()
{
    return STDOUT_FILENO;
}

bool kxPlatformConsoleIsTerminal(kxPlatformFileHandle stream)
{
    return ::isatty(static_cast<int>(stream)) == 1;
}

bool kxPlatformConsoleTakeRaw()
{
    if (!isInForeground()) {
        isToBeTakenAgain.store(true);
        return false;
    }
    if (isRaw.load() && !isToBeTakenAgain.load()) return true;
    static const bool handlersInstalled = (installHandlers(), true);
    (void)handlersInstalled;

    const SignalsBlocked blocked;
    if (!isInForeground()) return false;
    // While the mode is still ours, what was found before it holds; else it is found anew.
    if (!isRaw.load() && ::tcgetattr(STDIN_FILENO, &foundMode) != 0) return true;  // it hung up
    isToBeTakenAgain.store(false);
    takenBy.store(::getpid());
    isRaw.store(true);
    const termios raw = rawModeOf(foundMode);
    ::tcsetattr(STDIN_FILENO, TCSANOW, &raw);
    return true;
}

void kxPlatformConsoleRestore()
{
    const SignalsBlocked blocked;
    if (takenBy.load() != ::getpid() || !isRaw.exchange(false)) return;
    // In the background the terminal is somebody else's, who has set it up already.
    if (isInForeground()) ::tcsetattr(STDIN_FILENO, TCSANOW, &foundMode);
}

int kxPlatformConsoleEraseKey()
{
    if (!isRaw.load() || foundMode.c_cc[VERASE] == _POSIX_VDISABLE) return -1;
    return foundMode.c_cc[VERASE];
}
