#include "kxbase/thread/kxReadWriteMutex.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/thread/kxBodyReadGuard.h"
#include "kxbase/thread/kxBodyWriteGuard.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

// Starts an action on a thread of its own; tells whether it has finished within the time.
class Attempt {
public:
    template <typename Action>
    explicit Attempt(Action action)
        : thread_([this, action] {
              action();
              done_ = true;
          })
    {}
    ~Attempt() { thread_.join(); }
    bool isDoneWithin(std::chrono::milliseconds time) const
    {
        const auto end = Clock::now() + time;
        while (!done_ && Clock::now() < end) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return done_;
    }

private:
    std::atomic<bool> done_{false};
    std::thread thread_;
};

constexpr std::chrono::milliseconds kShort{20};
constexpr std::chrono::milliseconds kLong{5000};

}  // namespace

TEST(kxReadWriteMutex, ReadersShareAndAWriterExcludes)
{
    kxReadWriteMutex mutex;
    mutex.readLock();
    EXPECT_TRUE(Attempt([&] { kxBodyReadGuard guard(mutex); }).isDoneWithin(kLong));
    {
        Attempt writer([&] { kxBodyWriteGuard guard(mutex); });
        EXPECT_FALSE(writer.isDoneWithin(kShort));
        mutex.unlock();
        EXPECT_TRUE(writer.isDoneWithin(kLong));
    }
    mutex.writeLock();
    mutex.writeLock();
    mutex.readLock();
    {
        Attempt reader([&] { kxBodyReadGuard guard(mutex); });
        mutex.unlock();
        mutex.unlock();
        EXPECT_FALSE(reader.isDoneWithin(kShort)) << "the writer holds one lock still";
        mutex.unlock();
        EXPECT_TRUE(reader.isDoneWithin(kLong));
    }
}

TEST(kxSemaphore, AMaximumMakesTheNextHolderWait)
{
    kxReadWriteMutex semaphore({.maximum = 2});
    semaphore.readLock();
    semaphore.readLock();
    Attempt third([&] { semaphore.readLock(); });
    EXPECT_FALSE(third.isDoneWithin(kShort));
    semaphore.unlock();
    EXPECT_TRUE(third.isDoneWithin(kLong));
}

// A missed wake-up shows as a wait of the full 100 ms. One may come from a busy machine, but not many.
TEST(kxSemaphore, HandsOverWithoutStalls)
{
    constexpr int kTurns = 20000;
    kxSemaphore there({.holderCount = 1, .maximum = 1});
    kxSemaphore back({.holderCount = 1, .maximum = 1});
    std::thread other([&] {
        for (int turn = 0; turn < kTurns; ++turn) {
            there.acquire(0);
            back.release();
        }
    });
    int stalls = 0;
    for (int turn = 0; turn < kTurns; ++turn) {
        const auto asked = Clock::now();
        there.release();
        back.acquire(0);
        if (Clock::now() - asked > std::chrono::milliseconds(99)) ++stalls;
    }
    other.join();
    EXPECT_LT(stalls, 5);
}

TEST(kxEvent, WakesWaitersAndConsumesTheLockThatTheyHold)
{
    kxEvent event;
    EXPECT_FALSE(event.wait(1, false));
    EXPECT_FALSE(event.wait(1, true)) << "a lock that is not held is taken";
    EXPECT_EQ(event.lockCount(), 0U);
    event.lock();
    event.lock();
    Attempt signaller([&] {
        const kxBodyGuard guard(event);  // free only while the waiter sleeps
        event.signal();
    });
    EXPECT_TRUE(event.wait(5000, true));
    EXPECT_EQ(event.lockCount(), 1U);
    event.unlock();
}
