#include "kxbase/containers/kxQueue.h"
#include "support/kxTest.h"

namespace {

// What the rules say about positions and sizes, written for single items only.
template <typename Item> struct SlowQueue {
    void push(const Item& item)
    {
        if (head == tail) head = tail = 0;
        used = std::max(used, tail + 1);
        if (tail >= capacity) capacity = tail + (step - tail % step);
        items.resize(capacity);
        items[tail++] = item;
    }
    Item pop() { return std::exchange(items[isFifo ? head++ : --tail], Item()); }

    bool isFifo;
    std::uint32_t step, head = 0, tail = 0, used = 0, capacity = 0;
    std::vector<Item> items = {};
};

template <typename Item, kxQueueTaken Taken> void runBesideSlowQueue(kxQueueOrder order, std::uint32_t step)
{
    kxTestRandom random(11 + step);
    kxQueue<Item, Taken> queue(order, step);
    SlowQueue<Item> slow{order == KX_QUEUE_FIFO, std::max(step, 1U)};
    for (int turn = 0; turn < 2000; ++turn) {
        const auto count = random() % 20, kind = random() % 8;
        std::vector<Item> block(count);
        for (Item& item : block) item = Item{static_cast<int>(random())};
        if (kind == 0) queue.pushBlock(block.data(), count);
        if (kind == 1) queue.pushBlockReversed(block.data(), count), std::reverse(block.begin(), block.end());
        if (kind == 2)
            for (const Item& item : block) queue.push(item);
        if (kind <= 2)
            for (const Item& item : block) slow.push(item);
        if (kind > 2 && kind < 7) {
            const auto taken = std::min(count, queue.length());
            queue.popBlock(block.data(), taken);
            for (std::uint32_t i = 0; i < taken; ++i) ASSERT_EQ(block[i], slow.pop());
        }
        if (kind == 7 && !queue.isEmpty()) {
            const Item next = queue.top();
            ASSERT_EQ(queue.pop(), next);
            ASSERT_EQ(slow.pop(), next);
        }
        ASSERT_EQ(queue.length(), slow.tail - slow.head);
        ASSERT_TRUE(!std::is_trivially_copyable_v<Item> || queue.capacity() == slow.capacity);
        ASSERT_EQ(queue.usedCount(), slow.used);
    }
}

TEST(kxQueue, BlocksDoWhatSingleItemsDo)
{
    for (const auto order : {KX_QUEUE_LIFO, KX_QUEUE_FIFO})
        for (const std::uint32_t step : {0U, 1U, 8U, 100U}) {
            runBesideSlowQueue<int, KX_QUEUE_KEEP_TAKEN>(order, step);
            runBesideSlowQueue<int, KX_QUEUE_WIPE_TAKEN>(order, step);
            runBesideSlowQueue<std::vector<int>, KX_QUEUE_KEEP_TAKEN>(order, step);
        }
}

TEST(kxQueue, EndsAtItsBounds)
{
    kxQueue<std::uint8_t> queue(KX_QUEUE_LIFO, 4);
    kxQueue<std::uint8_t, KX_QUEUE_WIPE_TAKEN> wiping;
    EXPECT_EQ(kxFatalText([&] { queue.pop(); }), "kxQueue:pop out of data");
    EXPECT_EQ(kxFatalText([&] { queue.top(); }), "No top() item in kxQueue");
    std::uint8_t items[] = {1, 42, 0};
    queue.pushBlock(items, 2);
    wiping.pushBlock(items, 2);
    EXPECT_EQ(queue.pop() + wiping.pop(), 84);
    EXPECT_EQ((&queue.top())[1] + (&wiping.top())[1], 42) << "wipes taken items only when asked";
    EXPECT_EQ(kxFatalText([&] { queue.popBlock(items, 3); }), "kxQueue:pop out of data");
    EXPECT_TRUE(queue.isEmpty()) << "what there was has been taken, as three single calls would";
    queue.clear();
    EXPECT_EQ(queue.usedCount() + queue.capacity(), 4U) << "clearing keeps the block";
    queue.push(1);
    const volatile std::uint32_t most = 0xFFFFFFFFU;
    EXPECT_THROW(queue.pushBlock(items, most), std::bad_alloc);
}

}  // namespace
