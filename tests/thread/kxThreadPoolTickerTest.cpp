#include "kxbase/thread/kxThreadPoolTicker.h"

#include "kxbase/core/kxClock.h"
#include "kxbase/thread/kxThread.h"
#include "support/kxTest.h"

namespace {

class Ticker : public kxThreadTicker {
public:
    explicit Ticker(std::function<bool()> work = [] { return false; }) : work_(std::move(work)) {}

    bool tick() override
    {
        EXPECT_FALSE(isInside_.exchange(true)) << "ticked by two threads at once";
        const struct Leaving {
            ~Leaving() { isInside = false; }
            std::atomic<bool>& isInside;
        } leaving{isInside_};
        ++ticks;
        return work_();
    }
    void awaitTicks(int more)
    {
        const int end = ticks + more;
        while (ticks < end) std::this_thread::yield();
    }
    std::atomic<int> ticks{0};

private:
    const std::function<bool()> work_;
    std::atomic<bool> isInside_{false};
};

}  // namespace

TEST(kxThreadPoolTicker, TicksUntilRemoved)
{
    Ticker quiet, busy([] { return true; });
    kxThreadPoolTicker pool;
    for (int time = 0; time < 2; ++time) {
        EXPECT_TRUE(pool.add(quiet));
        EXPECT_FALSE(pool.add(quiet));
        quiet.awaitTicks(5);
        EXPECT_TRUE(pool.add(busy));
        EXPECT_EQ(pool.tickerCount(), 2U);
        busy.awaitTicks(1000);
        pool.remove(quiet);
        const int ticks = quiet.ticks;
        busy.awaitTicks(1000);
        EXPECT_EQ(quiet.ticks, ticks);
        pool.remove(busy);
        pool.remove(busy);
        EXPECT_EQ(pool.tickerCount(), 0U);
    }
}

TEST(kxThreadPoolTicker, SharesItsThreads)
{
    std::atomic<int> inside{0};
    const auto awaitOther = [&] {
        for (++inside; inside < 2;) std::this_thread::yield();
        return false;
    };
    Ticker first(awaitOther), second(awaitOther);
    kxThreadPoolTicker pool(2);
    pool.add(first);
    pool.add(second);
    first.awaitTicks(2);
}

TEST(kxThreadPoolTicker, ChangesFromInsideATick)
{
    struct SelfDestroying : kxThreadTicker {
        explicit SelfDestroying(kxThreadPoolTicker& pool) : pool_(pool) {}
        bool tick() override
        {
            pool_.remove(*this);
            delete this;
            return true;
        }
        kxThreadPoolTicker& pool_;
    };
    Ticker added, removed;
    kxThreadPoolTicker pool;
    Ticker changer([&] {
        pool.remove(removed);
        pool.add(added);
        return true;
    });
    pool.add(*new SelfDestroying(pool));
    pool.add(removed);
    pool.add(changer);
    added.awaitTicks(2);
    const int ticks = removed.ticks;
    changer.awaitTicks(10);
    EXPECT_EQ(removed.ticks, ticks);
    EXPECT_EQ(pool.tickerCount(), 2U);
    pool.remove(changer);
}

TEST(kxThreadPoolTicker, RemovalWaitsForTheTick)
{
    kxThreadPoolTicker pool;
    std::atomic<bool> isLeaving{false};
    Ticker slow([&] {
        pool.remove(slow);  // waits for nothing
        kxThread::sleep(20);
        isLeaving = true;
        return false;
    });
    pool.add(slow);
    while (slow.ticks == 0) std::this_thread::yield();
    pool.remove(slow);
    EXPECT_TRUE(isLeaving);
}

// It might be ticked by two threads at once otherwise.
TEST(kxThreadPoolTicker, ATickerThatRemovedItselfComesBackToItsThread)
{
    kxThreadPoolTicker pool(2);
    std::atomic<bool> isOut{false};
    Ticker other, busier, leaving([&] {
        if (isOut) return false;
        pool.remove(leaving);
        isOut = true;
        kxThread::sleep(20);
        return true;
    });
    for (Ticker* const ticker : {&leaving, &other, &busier}) pool.add(*ticker);
    pool.remove(other);  // its thread has the fewest now
    while (!isOut) std::this_thread::yield();
    pool.add(leaving);
    leaving.awaitTicks(2);
    pool.remove(leaving);
    pool.remove(busier);
}

// Pauses grow to 10 ms, so that an idle ticker is ticked some 25 times in 200 ms.
TEST(kxThreadPoolTicker, RestsAndRemovesATickerThatThrows)
{
    const kxMessageRecorder messages;
    Ticker idle;
    Ticker bad([]() -> bool { throw std::runtime_error("no %s"); });
    {
        kxThreadPoolTicker pool;
        pool.add(bad);
        pool.add(idle);
        const double start = kxClock::seconds();
        kxThread::sleep(200);
        EXPECT_LE(idle.ticks, 20 + (kxClock::seconds() - start) * 200);
        idle.awaitTicks(1);
    }
    ASSERT_EQ(messages.entries().size(), 1U);
    EXPECT_NE(messages.texts()[0].find("its tick threw 'no %s'"), std::string::npos);
    EXPECT_EQ(bad.ticks, 1);
    kxThreadPoolTicker next;
    EXPECT_TRUE(next.add(idle)) << "no longer in the pool that has gone";
    next.remove(idle);
}

TEST(kxThreadPoolTicker, ManyThreadsAddAndRemove)
{
    kxThreadPoolTicker pool(2);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int turn = 0; turn < 200; ++turn) {
                Ticker first([=] { return thread % 2 == 0; }), second;
                pool.add(first);
                pool.add(second);
                if (turn % 8 == 0) first.awaitTicks(1);
                pool.remove(first);
                pool.remove(second);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(pool.tickerCount(), 0U);
}
