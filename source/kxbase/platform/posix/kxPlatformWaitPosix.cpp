#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/platform/posix/kxPosixTime.h"

#include <cerrno>
#include <climits>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

static_assert(sizeof(std::atomic<std::uint32_t>) == 4 && std::atomic<std::uint32_t>::is_always_lock_free,
              "the kernel sleeps on the number itself");

timespec timeAfter(std::uint32_t milliseconds)
{
    return kxPosixTimespecOf(kxPosixMonotonicNanoseconds() +
                             milliseconds * KX_POSIX_NANOSECONDS_PER_MILLISECOND);
}

}  // namespace

void kxPlatformSleep(std::uint32_t milliseconds)
{
    timespec left = kxPosixTimespecOf(milliseconds * KX_POSIX_NANOSECONDS_PER_MILLISECOND);
    while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

bool kxPlatformWaitWhile(const std::atomic<std::uint32_t>& word, std::uint32_t value,
                         std::uint32_t milliseconds)
{
    const timespec end = timeAfter(milliseconds);
    const timespec* const deadline = milliseconds != KX_PLATFORM_WAIT_FOREVER ? &end : nullptr;
    while (word.load(std::memory_order_acquire) == value) {
        const long result = ::syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, value, deadline, nullptr,
                                      FUTEX_BITSET_MATCH_ANY);
        if (result != 0 && errno == ETIMEDOUT) return word.load(std::memory_order_acquire) != value;
    }
    return true;
}

void kxPlatformWakeAll(std::atomic<std::uint32_t>& word)
{
    ::syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}
