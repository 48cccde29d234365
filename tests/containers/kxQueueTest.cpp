#include "kxbase/containers/kxQueue.h"

#include "tests/support/kxFatalText.h"
#include "tests/support/kxTestRandom.h"

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace {

TEST(kxQueue, EmptyQueuesAreFatalWithTheirTexts)
{
    kxQueue<int> queue;
    EXPECT_EQ(kxFatalText([&] { queue.pop(); }), "kxQueue:pop out of data");
    EXPECT_EQ(kxFatalText([&] { queue.top(); }), "No top() item in kxQueue");
    queue.push(1);
    queue.push(2);
    int taken[3] = {};
    EXPECT_EQ(kxFatalText([&] { queue.popBlock(taken, 3); }), "kxQueue:pop out of data");
    EXPECT_EQ(taken[1], 1) << "what there was has been taken, as three single calls would";
    EXPECT_TRUE(queue.isEmpty());
}

// What the rules say about positions and sizes, written for single items only.
class SlowQueue {
public:
    SlowQueue(kxQueueOrder order, std::uint32_t step) : order_(order), step_(step != 0 ? step : 1) {}
    void push(std::uint8_t item)
    {
        if (head == tail && head != 0) head = tail = 0;
        if (tail >= used) {
            used = tail + 1;
            if (tail >= capacity) capacity = tail + (step_ - tail % step_);
        }
        items_.resize(capacity);
        items_[tail++] = item;
    }
    std::uint8_t pop() { return items_[order_ == KX_QUEUE_FIFO ? head++ : --tail]; }
    std::uint8_t top() const { return items_[order_ == KX_QUEUE_FIFO ? head : tail - 1]; }

    std::uint32_t head = 0, tail = 0, used = 0, capacity = 0;

private:
    std::vector<std::uint8_t> items_;
    kxQueueOrder order_;
    std::uint32_t step_;
};

template <kxQueueTaken Taken>
void runBesideSlowQueue(kxQueueOrder order, std::uint32_t step, std::uint32_t seed)
{
    kxTestRandom random(seed);
    kxQueue<std::uint8_t, Taken> queue(order, step);
    SlowQueue slow(order, step);
    for (int turn = 0; turn < 4000; ++turn) {
        std::vector<std::uint8_t> block(random() % 20);
        for (auto& item : block) item = static_cast<std::uint8_t>(random());
        const auto count = static_cast<std::uint32_t>(block.size());
        switch (random() % 6) {
        case 0:
            queue.pushBlock(block.data(), count);
            for (const auto item : block) slow.push(item);
            break;
        case 1:
            queue.pushBlockReversed(block.data(), count);
            for (auto item = block.rbegin(); item != block.rend(); ++item) slow.push(*item);
            break;
        case 2:
            queue.push(7);
            slow.push(7);
            break;
        case 3:
        case 4:
            block.resize(std::min<std::uint32_t>(count, queue.length()));
            queue.popBlock(block.data(), static_cast<std::uint32_t>(block.size()));
            for (const auto item : block) ASSERT_EQ(item, slow.pop());
            break;
        default:
            if (queue.isEmpty()) break;
            ASSERT_EQ(queue.top(), slow.top());
            ASSERT_EQ(queue.pop(), slow.pop());
        }
        ASSERT_EQ(queue.length(), slow.tail - slow.head);
        ASSERT_EQ(queue.capacity(), slow.capacity);
        ASSERT_EQ(queue.usedCount(), slow.used);
    }
}

TEST(kxQueue, BlocksDoWhatSingleItemsDo)
{
    for (const auto order : {KX_QUEUE_LIFO, KX_QUEUE_FIFO})
        for (const std::uint32_t step : {0U, 1U, 8U, 100U}) {
            runBesideSlowQueue<KX_QUEUE_KEEP_TAKEN>(order, step, 11 + step);
            runBesideSlowQueue<KX_QUEUE_WIPE_TAKEN>(order, step, 17 + step);
        }
}

TEST(kxQueue, WipesTakenItemsOnlyWhenAsked)
{
    kxQueue<std::uint8_t, KX_QUEUE_WIPE_TAKEN> wiping(KX_QUEUE_LIFO);
    kxQueue<std::uint8_t> keeping(KX_QUEUE_LIFO);
    wiping.push(1);
    wiping.push(42);
    keeping.push(1);
    keeping.push(42);
    EXPECT_EQ(wiping.pop(), 42);
    EXPECT_EQ(keeping.pop(), 42);
    EXPECT_EQ((&wiping.top())[1], 0);
    EXPECT_EQ((&keeping.top())[1], 42);
}

TEST(kxQueue, ClearForgetsPositionsAndKeepsTheBlock)
{
    kxQueue<int> queue(KX_QUEUE_FIFO, 4);
    for (int item = 0; item < 5; ++item) queue.push(item);
    queue.pop();
    queue.clear();
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_EQ(queue.usedCount(), 0U);
    EXPECT_EQ(queue.capacity(), 8U);
}

// Shared items show each copy that is lost or destroyed twice.
TEST(kxQueue, LooksAfterItemsThatAreMoreThanBytes)
{
    kxTestRandom random(5);
    for (const auto order : {KX_QUEUE_LIFO, KX_QUEUE_FIFO}) {
        kxQueue<std::shared_ptr<int>> queue(order, 3);
        std::deque<std::shared_ptr<int>> twin;
        for (int turn = 0; turn < 2000; ++turn) {
            if (random() % 2 == 0 || twin.empty()) {
                twin.push_back(std::make_shared<int>(turn));
                queue.push(twin.back());
                continue;
            }
            const bool fromBack = order == KX_QUEUE_LIFO;
            ASSERT_EQ(queue.pop(), fromBack ? twin.back() : twin.front());
            fromBack ? twin.pop_back() : twin.pop_front();
        }
        queue.push(queue.top());
        queue.clear();
        for (const auto& item : twin) EXPECT_EQ(item.use_count(), 1);
    }
}

TEST(kxQueue, PositionsDoNotWrap)
{
    const auto tooMany = [] {
        kxQueue<std::uint8_t> queue;
        const std::uint8_t item = 0;
        const volatile std::uint32_t most = 0xFFFFFFFFU;
        queue.push(item);
        queue.pushBlock(&item, most);
    };
    EXPECT_THROW(tooMany(), std::bad_alloc);
}

}  // namespace
