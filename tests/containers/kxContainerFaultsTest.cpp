#include "kxbase/containers/kxQueue.h"
#include "kxbase/containers/kxThreadData.h"
#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxReference.h"

#include <gtest/gtest.h>

namespace {

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
    kxRefPointer<kxReference> taken[60];
    for (auto& item : taken) item = kxMakeRef<Pusher>(queue);
    queue.popBlock(taken, 60);
    EXPECT_EQ(queue.length(), 1200U);
    kxThreadData<kxRefPointer<kxReference>, 2>().next() = kxMakeRef<kxReference>();
}

}  // namespace
