#include "kxbase/core/kxClock.h"

#include "kxbase/core/kxCounterClock.h"
#include "kxbase/platform/kxPlatformClock.h"

namespace {

kxCounterClock::Base startOfProcessClock()
{
    kxPlatformRaiseTimerResolution();
    return {kxPlatformWallSeconds(), kxPlatformCounter()};
}

}  // namespace

double kxClock::seconds()
{
    // Never destroyed, since it is asked after main too.
    static kxCounterClock& clock =
        *new kxCounterClock(startOfProcessClock, kxPlatformCounter, kxPlatformCounterSecondsPerTick());
    return clock.seconds();
}
