#include "kxbase/platform/kxPlatformConsole.h"
#include "kxbase/platform/posix/kxPosixTerminalMode.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

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
    if (kxPosixTerminalMode::isGivenBackForGood()) return kxPosixTerminalMode::isInForegroundOf(STDIN_FILENO);
    return kxPosixConsoleMode.take(STDIN_FILENO);
}

void kxPlatformConsoleRestore()
{
    kxPosixTerminalMode::giveAllBack();
}

int kxPlatformConsoleEraseKey()
{
    const unsigned char key = kxPosixConsoleMode.modeBefore().c_cc[VERASE];
    return kxPosixConsoleMode.isTaken() && key != _POSIX_VDISABLE ? key : -1;
}
