#include "kxbase/serialize/kxSerializeAdapterQueue.h"
#include "kxbase/serialize/kxSerializeAdapterString.h"
#include "tests/support/kxFatalText.h"
#include "tests/support/kxTestRandom.h"

#include <gtest/gtest.h>

#include <deque>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

// What a queue of the given order delivers.
class Twin {
public:
    explicit Twin(kxQueueOrder order) : order_(order) {}
    void write(const Bytes& bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }
    Bytes read(std::size_t count)
    {
        Bytes taken;
        while (taken.size() < count && !bytes_.empty()) {
            taken.push_back(order_ == KX_QUEUE_FIFO ? bytes_.front() : bytes_.back());
            order_ == KX_QUEUE_FIFO ? bytes_.pop_front() : bytes_.pop_back();
        }
        return taken;
    }
    std::size_t size() const { return bytes_.size(); }

private:
    kxQueueOrder order_;
    std::deque<std::uint8_t> bytes_;
};

}  // namespace

TEST(kxSerializeAdapterQueue, DeliversWhatADequeWould)
{
    kxTestRandom random(1);
    for (const kxQueueOrder order : {KX_QUEUE_FIFO, KX_QUEUE_LIFO}) {
        for (const std::uint32_t step : {0U, 1U, 7U, 100U}) {
            const auto queue = kxMakeRef<kxSerializeAdapterQueue>(order, step);
            Twin twin(order);
            for (int turn = 0; turn < 2000; ++turn) {
                Bytes bytes(random() % 20);
                for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
                switch (random() % 4) {
                case 0:
                    queue->write(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
                    twin.write(bytes);
                    break;
                case 1:
                    for (const auto byte : bytes) queue->writeByte(byte);
                    twin.write(bytes);
                    break;
                case 2: {
                    bytes.resize(bytes.size() * 2);
                    bytes.resize(queue->read(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
                    ASSERT_EQ(bytes, twin.read(bytes.size()));
                    break;
                }
                default:
                    if (twin.size() != 0) {
                        ASSERT_EQ(queue->readByte(), twin.read(1).front());
                    }
                }
                ASSERT_EQ(queue->getDataLength(), twin.size());
            }
        }
    }
}

TEST(kxSerializeAdapterQueue, ReadingAByteOfAnEmptyOneIsFatal)
{
    const auto text = kxMakeRef<kxSerializeAdapterString>("Ping\r\n");
    char bytes[8] = {};
    EXPECT_EQ(text->getDataLength(), 6U);
    EXPECT_EQ(text->read(bytes, 8), 6U);
    EXPECT_STREQ(bytes, "Ping\r\n");
    EXPECT_EQ(kxFatalText([&] { text->readByte(); }), "kxQueue:pop out of data");
    EXPECT_EQ(kxMakeRef<kxSerializeAdapterString>(nullptr)->length(), 0U);
}
