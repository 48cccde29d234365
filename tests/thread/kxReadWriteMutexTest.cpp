#include "kxbase/thread/kxReadWriteMutex.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/thread/kxBodyReadGuard.h"
#include "kxbase/thread/kxBodyWriteGuard.h"
#include "support/kxTest.h"

#include <atomic>
#include <future>
#include <thread>

namespace {

using Attempt = std::future<void>;

template <typename Action> Attempt attempt(Action action)
{
    return std::async(std::launch::async, action);
}

bool isDoneWithin(const Attempt& attempt, std::chrono::milliseconds time)
{
    return attempt.wait_for(time) == std::future_status::ready;
}

constexpr std::chrono::milliseconds kShort{20};
constexpr std::chrono::milliseconds kLong{5000};

}  // namespace

TEST(kxReadWriteMutex, ReadersShareAndAWriterExcludes)
{
    kxReadWriteMutex mutex;
    mutex.readLock();
    EXPECT_TRUE(isDoneWithin(attempt([&] { kxBodyReadGuard guard(mutex); }), kLong));
    {
        const Attempt writer = attempt([&] { kxBodyWriteGuard guard(mutex); });
        EXPECT_FALSE(isDoneWithin(writer, kShort));
        mutex.unlock();
        EXPECT_TRUE(isDoneWithin(writer, kLong));
    }
    mutex.writeLock();
    mutex.writeLock();
    mutex.readLock();
    {
        const Attempt reader = attempt([&] { kxBodyReadGuard guard(mutex); });
        mutex.unlock();
        mutex.unlock();
        EXPECT_FALSE(isDoneWithin(reader, kShort)) << "the writer holds one lock still";
        mutex.unlock();
        EXPECT_TRUE(isDoneWithin(reader, kLong));
    }
}

TEST(kxSemaphore, AMaximumMakesTheNextHolderWait)
{
    kxReadWriteMutex semaphore({.maximum = 2});
    semaphore.readLock();
    semaphore.readLock();
    double fastest = 1;
    for (int round = 0; round < 5; ++round) {
        const Attempt third = attempt([&] { semaphore.readLock(); });
        EXPECT_FALSE(isDoneWithin(third, kShort));
        const double before = kxClock::seconds();
        semaphore.unlock();
        EXPECT_TRUE(isDoneWithin(third, kLong));
        fastest = std::min(fastest, kxClock::seconds() - before);
    }
    EXPECT_LT(fastest, 0.05) << "the waiter is woken, and does not find out by itself after 100 ms";
}

// One thread releases while the other one finds the semaphore full and goes to sleep.
TEST(kxSemaphore, HandsOverBetweenThreads)
{
    constexpr int kTurns = 40000;
    constexpr int kMostSpins = 300;
    int slowTurns = 0;
    kxSemaphore semaphore({.maximum = 1});
    std::atomic<int> begun{0}, done{0};
    std::atomic<bool> isOver{false};
    const Attempt other = attempt([&] {
        for (int turn = 1;; done = turn++) {
            while (begun != turn && !isOver) std::this_thread::yield();
            if (isOver) return;
            const double before = kxClock::seconds();
            semaphore.acquire(0);
            slowTurns += kxClock::seconds() - before > 0.05;
            semaphore.release();
        }
    });
    const double end = kxClock::seconds() + 5;  // a busy machine takes long for every turn
    for (int turn = 1; turn <= kTurns && kxClock::seconds() < end; ++turn) {
        semaphore.acquire(0);
        begun = turn;
        for (int spin = turn % kMostSpins; spin > 0; --spin) begun.load();
        semaphore.release();
        while (done != turn) std::this_thread::yield();
    }
    isOver = true;
    other.wait();
    EXPECT_LT(slowTurns, 10) << "a wake that is missed costs 100 ms";
}

TEST(kxEvent, WakesWaitersAndConsumesTheLockThatTheyHold)
{
    kxEvent event;
    EXPECT_FALSE(event.wait(1, false));
    EXPECT_FALSE(event.wait(1, true)) << "a lock that is not held is taken";
    EXPECT_EQ(event.lockCount(), 0U);
    event.lock();
    event.lock();
    const Attempt signaller = attempt([&] {
        const kxBodyGuard guard(event);  // free only while the waiter sleeps
        event.signal();
    });
    EXPECT_TRUE(event.wait(5000, true));
    EXPECT_EQ(event.lockCount(), 1U);
    event.unlock();
}
