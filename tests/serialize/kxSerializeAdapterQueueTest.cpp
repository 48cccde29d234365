#include "kxbase/serialize/kxSerializeAdapterQueue.h"
#include "kxbase/serialize/kxSerializeAdapterString.h"
#include "support/kxTest.h"

#include <deque>

TEST(kxSerializeAdapterQueue, DeliversWhatADequeWould)
{
    kxTestRandom random(1);
    for (std::uint32_t round = 0; round < 20; ++round) {
        const kxQueueOrder order = round % 2 == 0 ? KX_QUEUE_FIFO : KX_QUEUE_LIFO;
        const auto queue = kxMakeRef<kxSerializeAdapterQueue>(order, round);
        std::deque<std::uint8_t> twin;
        for (int turn = 0; turn < 1000; ++turn) {
            std::uint8_t bytes[30];
            std::uint32_t count = random() % 30;
            for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
            const bool isBlock = random() % 2 == 0;
            if (random() % 2 == 0) {
                if (isBlock) queue->write(bytes, count);
                for (std::uint32_t index = 0; index < count; ++index) {
                    if (!isBlock) queue->writeByte(bytes[index]);
                    twin.push_back(bytes[index]);
                }
            } else {
                if (isBlock) count = queue->read(bytes, count);
                for (std::uint32_t index = 0; index < count && !twin.empty(); ++index) {
                    if (!isBlock) bytes[index] = queue->readByte();
                    ASSERT_EQ(bytes[index], order == KX_QUEUE_FIFO ? twin.front() : twin.back());
                    order == KX_QUEUE_FIFO ? twin.pop_front() : twin.pop_back();
                }
            }
            ASSERT_EQ(queue->getDataLength(), twin.size());
        }
    }
}

TEST(kxSerializeAdapterQueue, ReadingAByteOfAnEmptyOneIsFatal)
{
    const auto text = kxMakeRef<kxSerializeAdapterString>("Ping\r\n");
    EXPECT_EQ(text->getDataLength(), 6U);
    EXPECT_EQ(kxTestTake(*text, 8), "Ping\r\n");
    EXPECT_EQ(kxFatalText([&] { text->readByte(); }), "kxQueue:pop out of data");
    EXPECT_EQ(kxMakeRef<kxSerializeAdapterString>(nullptr)->length(), 0U);
}
