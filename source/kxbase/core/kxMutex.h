// Recursive lock that can remember its owner.
//
// Threads: every operation may be called from any thread. Unlocking by a thread that does not hold the lock
//          is ignored. In a forked child the thread that forked holds what it held before; what other threads
//          held stays locked there, unless a kxPlatformForkGuard took it first.
// Errors:  destroying a mutex that is locked sends a Warning; the lock is destroyed all the same.
//
// Constant-initialised, so that a static mutex works before main; it allocates nothing.
#pragma once

#include "kxbase/platform/kxPlatformLock.h"

#include <atomic>
#include <cstdint>

class kxMutex {
public:
    // With owner tracking, owner() names the thread that holds the lock.
    constexpr explicit kxMutex(bool tracksOwner = false) noexcept : tracksOwner_(tracksOwner) {}
    virtual ~kxMutex() noexcept(false);
    kxMutex(const kxMutex&) = delete;
    kxMutex& operator=(const kxMutex&) = delete;

    void lock();
    // Takes the lock if that needs no waiting; answers whether it did.
    bool tryLock();
    void unlock();

    // Thread id of the holder; 0 when nobody holds the lock or the owner is not tracked.
    std::uint32_t owner() const noexcept { return owner_.load(std::memory_order_relaxed); }
    // Locks outstanding.
    std::uint32_t lockCount() const noexcept { return lockCount_.load(std::memory_order_relaxed); }

protected:
    bool isHeldByCaller() const;
    // For waits: gives the lock up whatever its count and answers that count; the caller holds the lock.
    std::uint32_t unlockAll();
    // Takes the lock as often as asked.
    void lockTimes(std::uint32_t count);

private:
    bool isHeldBy(std::uint32_t token) const noexcept
    {
        return holder_.load(std::memory_order_relaxed) == token;
    }
    void entered(std::uint32_t token) noexcept;
    void leave();

    kxPlatformLock lock_;
    // Read by threads that do not hold the lock, hence atomic; written by the holder alone.
    std::atomic<std::uint32_t> holder_{0};  // its thread's token
    std::atomic<std::uint32_t> owner_{0};   // its thread's id, when that is tracked
    std::atomic<std::uint32_t> lockCount_{0};
    const bool tracksOwner_;
};
