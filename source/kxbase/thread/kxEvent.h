// A recursive lock with something to wait for: waiters sleep until the event is signalled.
//
// Ownership: embedded, or held through kxRefPointer by one thread, since its count is a plain number; it must
//            outlive its waiters.
// Threads:   every operation may be called from any thread. A thread that ends in the middle of a wait
//            disturbs nobody.
// Errors:    none.
// Units:     milliseconds.
#pragma once

#include "kxbase/core/kxMutex.h"
#include "kxbase/object/kxReference.h"

class kxEvent : public kxReference, public kxMutex {
public:
    kxEvent() : kxMutex(true) {}
    const kxType& getType() const override;

    // Wakes everybody who waits.
    void signal();
    // Sleeps until the event is signalled; answers false when the time passed first. A caller that holds the
    // lock says so: one of its locks is used up, all are given up while it sleeps, and the others are taken
    // back. No signal that is sent under the lock is missed by a caller that held it:
    //
    //     event.lock();
    //     while (!isReady) {
    //         event.wait(100, true);
    //         event.lock();
    //     }
    //     event.unlock();
    //
    // A caller that says so and does not hold the lock waits all the same.
    bool wait(std::uint32_t milliseconds, bool alreadyLocked);

private:
    std::atomic<std::uint32_t> generation_{0};  // signals so far, wrapping
    // Threads that sleep or are about to. Too high once one was killed, which only costs needless wake-ups.
    std::atomic<std::uint32_t> sleeperCount_{0};
};
