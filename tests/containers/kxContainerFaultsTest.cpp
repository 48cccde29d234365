#include "kxbase/containers/kxArray.h"
#include "kxbase/containers/kxQueue.h"
#include "kxbase/containers/kxThreadData.h"
#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxReference.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(kxContainerFaults, ItemsThatHaveToBeMovedAreMovedAFewTimesOnly)
{
    kxQueue<std::string> queue;
    kxArray<std::string> array;
    const std::string item;
    std::uint32_t queueMoves = 0, arrayMoves = 0;
    for (std::uint32_t count = 0; count < 20'000; ++count) {
        const std::uint32_t queueRoom = queue.capacity(), arrayRoom = array.capacity();
        queue.push(item);
        array.appendBlock(&item, 1);
        if (queue.capacity() != queueRoom) queueMoves += count;
        if (array.capacity() != arrayRoom) arrayMoves += count;
    }
    EXPECT_LT(queueMoves, 100'000U);
    EXPECT_LT(arrayMoves, 100'000U);
}

TEST(kxContainerFaults, AQueueTakesWhatItsItemsPushWhenTheyGo)
{
    kxQueue<kxRefPointer<kxReference>> queue(KX_QUEUE_FIFO, 1);
    struct Pusher : kxReference {
        explicit Pusher(kxQueue<kxRefPointer<kxReference>>& to) : target(to) {}
        ~Pusher() override
        {
            for (int count = 0; count < 20; ++count) target.push(nullptr);
        }
        kxQueue<kxRefPointer<kxReference>>& target;
    };
    for (int count = 0; count < 3; ++count) queue.push(kxMakeRef<Pusher>(queue).get());
    queue.clear();
    EXPECT_EQ(queue.length(), 60U);
    kxRefPointer<kxReference> taken[60];
    for (auto& item : taken) item = kxMakeRef<Pusher>(queue);
    queue.popBlock(taken, 60);
    EXPECT_EQ(queue.length(), 1200U);
    kxThreadData<kxRefPointer<kxReference>, 2>().next() = kxMakeRef<kxReference>();
}

}  // namespace
