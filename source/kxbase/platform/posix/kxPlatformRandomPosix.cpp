#include "kxbase/platform/kxPlatformRandom.h"

#include <cerrno>

#include <sys/random.h>

bool kxPlatformRandom(void* bytes, std::size_t count)
{
    auto* next = static_cast<unsigned char*>(bytes);
    while (count != 0) {
        const ssize_t taken = ::getrandom(next, count, 0);
        if (taken < 0 && errno != EINTR) return false;
        if (taken <= 0) continue;
        next += taken;
        count -= static_cast<std::size_t>(taken);
    }
    return true;
}
