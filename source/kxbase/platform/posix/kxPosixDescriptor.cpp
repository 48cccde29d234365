#include "kxbase/platform/posix/kxPosixDescriptor.h"

#include <cerrno>

#include <poll.h>

short kxPosixWait(int descriptor, short events, int milliseconds)
{
    pollfd wanted{descriptor, events, 0};
    while (::poll(&wanted, 1, milliseconds) < 0) {
        if (errno != EINTR) return events;  // let the call that follows report what is wrong
        if (milliseconds >= 0) return 0;
    }
    return wanted.revents;
}
