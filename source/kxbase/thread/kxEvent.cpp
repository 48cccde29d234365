#include "kxbase/thread/kxEvent.h"

#include "kxbase/object/kxTypeTable.h"
#include "kxbase/platform/kxPlatformWait.h"

const kxType& kxEvent::getType() const
{
    return kxTypeTable::find("kxReference");
}

void kxEvent::signal()
{
    generation_.fetch_add(1);
    // A sleeper that is not seen here sees the new generation before it sleeps.
    if (sleeperCount_.load() != 0) kxPlatformWakeAll(generation_);
}

bool kxEvent::wait(std::uint32_t milliseconds, bool alreadyLocked)
{
    if (!alreadyLocked || !isHeldByCaller()) lock();
    const std::uint32_t generation = generation_.load();
    const std::uint32_t locks = unlockAll();
    sleeperCount_.fetch_add(1);
    const bool woken = kxPlatformWaitWhile(generation_, generation, milliseconds);
    sleeperCount_.fetch_sub(1);
    lockTimes(locks - 1);
    return woken;
}
