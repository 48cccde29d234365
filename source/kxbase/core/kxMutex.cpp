#include "kxbase/core/kxMutex.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/platform/kxPlatformThread.h"

namespace {

// Tells the holder: unlike the system's id of a thread it stays the same in a forked child, and unlike an address
// no later thread has it.
using Token = std::uint32_t;
std::atomic<Token> lastToken{0};
thread_local Token ownToken = 0;

Token tokenOfCaller() noexcept
{
    while (ownToken == 0) ownToken = ++lastToken;
    return ownToken;
}

}  // namespace

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
    const Token caller = tokenOfCaller();
    if (!isHeldBy(caller)) kxPlatformLockAcquire(lock_);
    entered(caller);
}

bool kxMutex::tryLock()
{
    const Token caller = tokenOfCaller();
    if (!isHeldBy(caller) && !kxPlatformLockTryAcquire(lock_)) return false;
    entered(caller);
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
    return isHeldBy(tokenOfCaller());
}

void kxMutex::leave()
{
    holder_.store(0, std::memory_order_relaxed);
    if (tracksOwner_) owner_.store(0, std::memory_order_relaxed);
    kxPlatformLockRelease(lock_);
}

void kxMutex::entered(std::uint32_t token) noexcept
{
    holder_.store(token, std::memory_order_relaxed);
    if (tracksOwner_) owner_.store(kxPlatformThreadId(), std::memory_order_relaxed);
    lockCount_.store(lockCount() + 1, std::memory_order_relaxed);
}
