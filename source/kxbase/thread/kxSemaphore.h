// Counting lock whose holders share a key: holders of one key come in together, another key waits until all
// have left.
//
// Threads: every operation may be called from any thread. A forked child finds every holder in it, those of other
//          threads as well, and may find it out of reach when another thread was just using it.
// Errors:  releasing what nobody holds only wakes the waiters.
#pragma once

#include "kxbase/core/kxMutex.h"
#include "kxbase/thread/kxEvent.h"

// What a semaphore starts with.
struct kxSemaphoreStart {
    std::uint32_t ownerKey = 0;
    std::uint32_t holderCount = 0;
    std::uint32_t maximum = 0;  // 0 is unlimited
};

class kxSemaphore {
public:
    explicit kxSemaphore(const kxSemaphoreStart& start = {});
    virtual ~kxSemaphore() = default;

    // Waits until nobody holds the lock, or only holders of the same key do, and the maximum leaves room.
    void acquire(std::uint32_t key);
    void release();

protected:
    // Waits like acquire: with the caller's own key while the lock is held under that key, else with the key that
    // all readers share.
    void acquireShared(std::uint32_t ownKey);

private:
    bool tryEnter(std::uint32_t key);
    void waitForChange();

    const std::uint32_t maximum_;
    kxMutex mutex_;  // guards the fields below; never held across a wait
    std::uint32_t ownerKey_;
    std::uint32_t holderCount_;
    std::uint32_t waiterCount_ = 0;  // too high once a waiter was killed, which only costs needless signals
    kxEvent changed_;
};
