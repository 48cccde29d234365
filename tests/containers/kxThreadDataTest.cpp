#include "kxbase/containers/kxThreadData.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

namespace {

std::atomic<int> alive = 0;
struct Item {
    Item() { ++alive; }
    ~Item() { --alive; }
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;
    int number = 0;
};

TEST(kxThreadData, GivesARingToEachThread)
{
    kxThreadData<Item, 3> data;
    std::vector<Item*> seen;
    for (int call = 0; call < 6; ++call) seen.push_back(&data.next());
    EXPECT_EQ((std::set<Item*>(seen.begin(), seen.begin() + 3).size()), 3U);
    EXPECT_TRUE(std::equal(seen.begin(), seen.begin() + 3, seen.begin() + 3));
    Item* other = nullptr;
    std::thread([&] { other = &data.next(); }).join();
    EXPECT_EQ(std::count(seen.begin(), seen.end(), other), 0);
}

TEST(kxThreadData, AThreadsRingGoesWhenTheThreadEnds)
{
    kxThreadData<Item, 2> first;
    kxThreadData<Item, 2> second;
    first.next();
    std::thread([&] {
        first.next();
        second.next();
        EXPECT_EQ(alive, 6);
        kxThreadData<Item, 2> gone;  // goes before its thread
        gone.next();
    }).join();
    EXPECT_EQ(alive, 2);
    EXPECT_EQ(first.threadCount(), 1U);
    EXPECT_EQ(second.threadCount(), 0U);
}

// An object of the thread that is destroyed after the thread's end has been noticed.
TEST(kxThreadData, MayBeAskedWhileAThreadEnds)
{
    static kxThreadData<Item, 2>& data = *new kxThreadData<Item, 2>;
    struct Late {
        ~Late() { data.next().number = 1; }
    };
    std::thread([] {
        static thread_local Late late;
        static_cast<void>(late);
        data.next();
    }).join();
    EXPECT_EQ(data.threadCount(), 1U);
    delete &data;
    EXPECT_EQ(alive, 0);
}

TEST(kxThreadData, ThreadsDoNotMeet)
{
    kxThreadData<Item, 4> data;
    std::vector<std::thread> threads;
    for (int index = 1; index <= 6; ++index)
        threads.emplace_back([&data, index] {
            for (int call = 0; call < 500; ++call) {
                Item& item = data.next();
                EXPECT_TRUE(item.number == 0 || item.number == index);
                item.number = index;
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(alive, 0);
}

}  // namespace
