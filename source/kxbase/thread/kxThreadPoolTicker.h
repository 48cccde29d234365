// Threads that tick kxThreadTicker objects, each ticker on one of them.
//
// A thread goes round its tickers without pause while any of them has something to do. After a round without
// work it sleeps for a millisecond, twice as long after each further one, up to ten; a new ticker wakes it. A
// thread is started for its first ticker, and sleeps while it has none.
//
// Ownership: tickers belong to their makers, see kxThreadTicker. Tickers still in the pool when it goes are
//            removed.
// Threads:   every operation may be called from any thread, also from inside a tick, but no tick may destroy the
//            pool. No lock is held during a tick. Two ticks on different threads must not remove each other's
//            tickers, since each would wait for the other. A ticker that removes itself must not be added to
//            another pool before its tick has returned.
// Errors:    a ticker whose tick throws is removed, with a Fatal message.
#pragma once

#include "kxbase/thread/kxThreadTicker.h"

#include <memory>
#include <vector>

class kxThreadPoolTicker {
public:
    // Of 0 threads, one is made.
    explicit kxThreadPoolTicker(std::uint32_t threadCount = 1);
    ~kxThreadPoolTicker();
    kxThreadPoolTicker(const kxThreadPoolTicker&) = delete;
    kxThreadPoolTicker& operator=(const kxThreadPoolTicker&) = delete;

    // Gives the ticker to the thread that has the fewest, but one that comes back to the thread that it had: that may
    // still be in the tick that removed it. False when it is in a pool already, or when the system refuses a
    // thread.
    bool add(kxThreadTicker& ticker);
    // Takes the ticker out. Waits for a tick in progress, except from inside that tick: afterwards the ticker
    // may be destroyed. A ticker of another pool is left alone.
    void remove(kxThreadTicker& ticker);
    // Tickers in the pool.
    std::uint32_t tickerCount() const;

private:
    friend class kxThreadTicker;
    class Worker;

    static void removeDestroyed(kxThreadTicker& ticker);
    std::uint32_t workerFor(const kxThreadTicker& ticker) const;
    void removeFailed(Worker& worker, kxThreadTicker::Slot& slot, const void* address, const char* text);

    std::vector<std::unique_ptr<Worker>> workers_;
};
