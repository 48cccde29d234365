#include "kxbase/platform/posix/kxPosixDescriptor.h"

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int kFirstOwnDescriptor = 3;

}  // namespace

short kxPosixWait(int descriptor, short events, int milliseconds)
{
    pollfd wanted{descriptor, events, 0};
    while (::poll(&wanted, 1, milliseconds) < 0) {
        if (errno != EINTR) return events;  // let the call that follows report what is wrong
        if (milliseconds >= 0) return 0;
    }
    return wanted.revents;
}

int kxPosixAboveStandardStreams(int descriptor)
{
    if (descriptor < 0 || descriptor >= kFirstOwnDescriptor) return descriptor;
    const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstOwnDescriptor);
    const int error = errno;
    ::close(descriptor);
    errno = error;
    return moved;
}
