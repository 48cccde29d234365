#include "kxbase/platform/kxPlatformConsole.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <pthread.h>
#include <termios.h>
#include <unistd.h>

namespace {

// Signals whose default action ends the process; the terminal is given back before they do.
constexpr int kEndingSignals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM, SIGPIPE, SIGALRM,
                                  SIGUSR1, SIGUSR2, SIGXCPU, SIGXFSZ, SIGSEGV, SIGBUS,
                                  SIGFPE,  SIGILL,  SIGABRT, SIGSYS,  SIGTRAP, SIGVTALRM};

// State of the terminal, touched by the thread that uses the console and by signal handlers.
termios foundMode;                          // as it was before raw mode; valid while isRaw
std::atomic<bool> isRaw{false};             // the terminal is in raw mode by our doing
std::atomic<bool> isToBeTakenAgain{false};  // a stop lies between the last taking and now
static_assert(std::atomic<bool>::is_always_lock_free, "used in signal handlers");

// A terminal that does not control the process has no background.
bool isInForeground()
{
    const pid_t foreground = ::tcgetpgrp(STDIN_FILENO);
    return foreground == ::getpgrp() || (foreground < 0 && errno == ENOTTY && ::isatty(STDIN_FILENO) == 1);
}

// Changing the mode from the background would stop the process; with the signal blocked it fails or works.
void setMode(const termios& mode)
{
    sigset_t stop, before;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTTOU);
    pthread_sigmask(SIG_BLOCK, &stop, &before);
    ::tcsetattr(STDIN_FILENO, TCSANOW, &mode);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
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

void install(int signal, void (*handler)(int))
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
    isToBeTakenAgain.store(true);
    defaultActionOf(signal);
    sigset_t stop, before;
    sigemptyset(&stop);
    sigaddset(&stop, signal);
    ::raise(signal);
    pthread_sigmask(SIG_UNBLOCK, &stop, &before);  // stops here
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    install(signal, onStop);
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
    for (const int signal : kEndingSignals) install(signal, onEndingSignal);
    install(SIGTSTP, onStop);
    install(SIGCONT, onContinue);
    std::atexit(kxPlatformConsoleRestore);
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
    if (isRaw.load() && !isToBeTakenAgain.load()) return true;
    if (!isInForeground()) return false;
    // What a stop in between left is the mode found anew, unless the stop came too suddenly to give ours back.
    if (!isRaw.load() && ::tcgetattr(STDIN_FILENO, &foundMode) != 0) return false;
    static const bool handlersInstalled = (installHandlers(), true);
    (void)handlersInstalled;
    isToBeTakenAgain.store(false);
    isRaw.store(true);
    setMode(rawModeOf(foundMode));
    return true;
}

void kxPlatformConsoleRestore()
{
    if (!isRaw.exchange(false)) return;
    // In the background the terminal is somebody else's, who has set it up already.
    if (isInForeground()) setMode(foundMode);
}

int kxPlatformConsoleEraseKey()
{
    if (!isRaw.load() || foundMode.c_cc[VERASE] == _POSIX_VDISABLE) return -1;
    return foundMode.c_cc[VERASE];
}
