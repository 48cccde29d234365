#include "kxbase/thread/kxSemaphore.h"

#include "kxbase/core/kxBodyGuard.h"

namespace {

// Bounds what a missed wake-up costs.
constexpr std::uint32_t kLongestWaitMilliseconds = 100;
constexpr std::uint32_t kSharedKey = 0;

}  // namespace

kxSemaphore::kxSemaphore(const kxSemaphoreStart& start)
    : maximum_(start.maximum), ownerKey_(start.ownerKey), holderCount_(start.holderCount)
{}

void kxSemaphore::acquire(std::uint32_t key)
{
    mutex_.lock();
    while (!tryEnter(key)) waitForChange();
    mutex_.unlock();
}

void kxSemaphore::acquireShared(std::uint32_t ownKey)
{
    mutex_.lock();
    const bool isOwner = holderCount_ != 0 && ownerKey_ == ownKey;
    while (!tryEnter(isOwner ? ownKey : kSharedKey)) waitForChange();
    mutex_.unlock();
}

bool kxSemaphore::tryEnter(std::uint32_t key)
{
    const bool mayShare = holderCount_ == 0 || ownerKey_ == key;
    if (!mayShare || (maximum_ != 0 && holderCount_ >= maximum_)) return false;
    ++holderCount_;
    ownerKey_ = key;
    return true;
}

// Leaves the own mutex for the time of the wait. The event's mutex is taken before, so that no release falls
// between the two.
void kxSemaphore::waitForChange()
{
    ++waiterCount_;
    changed_.lock();
    mutex_.unlock();
    changed_.wait(kLongestWaitMilliseconds, true);
    mutex_.lock();
    --waiterCount_;
}

void kxSemaphore::release()
{
    const kxBodyGuard guard(mutex_);
    const bool wasFull = maximum_ != 0 && holderCount_ == maximum_;
    if (holderCount_ != 0) --holderCount_;
    if (waiterCount_ == 0 || (holderCount_ != 0 && !wasFull)) return;
    const kxBodyGuard changing(changed_);
    changed_.signal();
}
