#include "kxbase/core/kxMutex.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/platform/kxPlatformThread.h"

kxMutex::~kxMutex() noexcept(false)
{
    if (lockCount() != 0) {
        kxMessage(KX_MESSAGE_WARNING, "kxMutex (%x) deleted with unbalanced Lock/unLock",
                  static_cast<const void*>(this));
    }
    kxPlatformLockDestroy(lock_);
}

void kxMutex::lock()
{
    const std::uint32_t thread = kxPlatformThreadId();
    if (!isHeldBy(thread)) kxPlatformLockAcquire(lock_);
    entered(thread);
}

bool kxMutex::tryLock()
{
    const std::uint32_t thread = kxPlatformThreadId();
    if (!isHeldBy(thread) && !kxPlatformLockTryAcquire(lock_)) return false;
    entered(thread);
    return true;
}

void kxMutex::unlock()
{
    if (!isHeldByCaller()) return;
    const std::uint32_t left = lockCount() - 1;
    lockCount_.store(left, std::memory_order_relaxed);
    if (left == 0) leave();
}

std::uint32_t kxMutex::unlockAll()
{
    const std::uint32_t count = lockCount();
    lockCount_.store(0, std::memory_order_relaxed);
    leave();
    return count;
}

void kxMutex::lockTimes(std::uint32_t count)
{
    for (; count != 0; --count) lock();
}

bool kxMutex::isHeldByCaller() const
{
    return isHeldBy(kxPlatformThreadId());
}

std::uint32_t kxMutex::owner() const noexcept
{
    return tracksOwner_ ? holder_.load(std::memory_order_relaxed) : 0;
}

bool kxMutex::isHeldBy(std::uint32_t thread) const noexcept
{
    const std::uint32_t holder = holder_.load(std::memory_order_relaxed);
    return holder == thread || (holder != 0 && holder == kxPlatformThreadIdBeforeFork());
}

void kxMutex::leave()
{
    holder_.store(0, std::memory_order_relaxed);
    kxPlatformLockRelease(lock_);
}

void kxMutex::entered(std::uint32_t thread) noexcept
{
    holder_.store(thread, std::memory_order_relaxed);
    lockCount_.store(lockCount() + 1, std::memory_order_relaxed);
}
