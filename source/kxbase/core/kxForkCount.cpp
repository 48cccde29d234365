#include "kxbase/core/kxForkCount.h"

#include "kxbase/platform/kxPlatformFork.h"

namespace {

// Changed only where there is one thread.
std::uint32_t count = 0;

}  // namespace

std::uint32_t kxForkCount()
{
    static constinit kxPlatformForkGuard guard{[] {}, [] {}, [] { ++count; }};
    [[maybe_unused]] static const bool isGuarded = (kxPlatformAddForkGuard(guard), true);
    return count;
}
