#include "kxbase/platform/posix/kxPosixDescriptor.h"

#include "kxbase/platform/kxPlatformWait.h"

#include <algorithm>
#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int kFirstOwnDescriptor = 3;

}  // namespace

int kxPosixPollTime(std::uint32_t milliseconds)
{
    constexpr int kForever = -1;
    if (milliseconds == KX_PLATFORM_WAIT_FOREVER) return kForever;
    return static_cast<int>(std::min<std::uint32_t>(milliseconds, INT_MAX));
}

short kxPosixWait(int descriptor, short events, std::uint32_t milliseconds)
{
    pollfd wanted{descriptor, events, 0};
    while (::poll(&wanted, 1, kxPosixPollTime(milliseconds)) < 0) {
        if (errno != EINTR) return events;  // let the call that follows report what is wrong
        if (milliseconds != KX_PLATFORM_WAIT_FOREVER) return 0;
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
