#include "kxbase/containers/kxThreadData.h"
#include "support/kxTest.h"

namespace {

std::atomic<int> alive = 0;
struct Item {
    Item() { ++alive; }
    ~Item() { --alive; }
    int number = 0;
};

TEST(kxThreadData, AThreadsRingGoesWhenTheThreadEnds)
{
    kxThreadData<Item, 2> first, second, third;
    Item* const item = &first.next();
    EXPECT_TRUE(&first.next() != item && &first.next() == item);
    third.next();
    std::thread([&] {
        EXPECT_NE(&first.next(), item);
        second.next();
        EXPECT_EQ(alive, 8);
        kxThreadData<Item, 2>().next();  // goes before its thread
    }).join();
    EXPECT_EQ(alive, 4);
    EXPECT_EQ(first.threadCount() + second.threadCount(), 1U);
}

}  // namespace
