#include "kxbase/thread/kxEvent.h"

#include "kxbase/object/kxTypeTable.h"
#include "kxbase/platform/kxPlatformWait.h"

const kxType& kxEvent::getType() const
{
    return kxTypeTable::find("kxReference");
}

void kxEvent::signal()
{
    generation_.fetch_add(1, std::memory_order_release);
    kxPlatformWakeAll(generation_);
}

bool kxEvent::wait(std::uint32_t milliseconds, bool alreadyLocked)
{
    if (!alreadyLocked || !isHeldByCaller()) lock();
    const std::uint32_t generation = generation_.load(std::memory_order_acquire);
    const std::uint32_t locks = unlockAll();
    const bool woken = kxPlatformWaitWhile(generation_, generation, milliseconds);
    lockTimes(locks - 1);
    return woken;
}
