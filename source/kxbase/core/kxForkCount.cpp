#include "kxbase/core/kxForkCount.h"

#include "kxbase/core/kxForkGuard.h"

namespace {

// Changed only where there is one thread.
std::uint32_t count = 0;

}  // namespace

std::uint32_t kxForkCount()
{
    static const kxForkGuard guard({[] {}, [] {}, [] { ++count; }});
    return count;
}
