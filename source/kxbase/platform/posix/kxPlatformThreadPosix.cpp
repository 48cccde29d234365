#include "kxbase/platform/kxPlatformThread.h"

#include <cerrno>
#include <ctime>
#include <utility>

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

thread_local std::uint32_t cachedThreadId = 0;
thread_local std::uint32_t threadIdBeforeFork = 0;

// The only thread of a forked child has a new id.
const bool forkHandlerInstalled =
    pthread_atfork(nullptr, nullptr, [] { threadIdBeforeFork = std::exchange(cachedThreadId, 0); }) == 0;

}  // namespace

std::uint32_t kxPlatformThreadId()
{
    if (cachedThreadId == 0) cachedThreadId = static_cast<std::uint32_t>(::syscall(SYS_gettid));
    return cachedThreadId;
}

std::uint32_t kxPlatformThreadIdBeforeFork()
{
    return threadIdBeforeFork;
}

void kxPlatformSleep(std::uint32_t milliseconds)
{
    timespec left{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000};
    while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}
