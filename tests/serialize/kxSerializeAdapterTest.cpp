#include "kxbase/serialize/kxSerializeAdapter.h"
#include "support/kxTest.h"

namespace {

// Supplies bytes one by one, so that the base's block operations are what is tested.
class ByteSource : public kxSerializeAdapter {
public:
    explicit ByteSource(std::string bytes, std::size_t readyAtOnce = std::string::npos)
        : bytes_(std::move(bytes)), readyAtOnce_(readyAtOnce)
    {}
    void writeByte(std::uint8_t byte) override { written += static_cast<char>(byte); }
    std::uint8_t readByte() override
    {
        return next_ < bytes_.size() ? static_cast<std::uint8_t>(bytes_[next_++]) : 0;
    }
    std::uint32_t getDataLength() override
    {
        return static_cast<std::uint32_t>(std::min(bytes_.size() - next_, readyAtOnce_));
    }
    // More may arrive while nothing is ready.
    bool hasData() override { return next_ < bytes_.size(); }

    std::string written;

private:
    std::string bytes_;
    std::size_t readyAtOnce_;
    std::size_t next_ = 0;
};

}  // namespace

TEST(kxSerializeAdapter, ReadsPushedBackBytesBeforeAnyOther)
{
    kxRefPointer<ByteSource> source(new ByteSource("def"));
    for (const char byte : {'c', 'b', 'a'}) source->pushBack(static_cast<std::uint8_t>(byte));
    EXPECT_EQ(source->length(), 6U);
    EXPECT_EQ(source->readChar(), 'a');
    EXPECT_EQ(kxTestTake(*source, 3), "bcd");
    source->pushBack("xyz", 3);
    EXPECT_EQ(source->read(nullptr, 2), 2U) << "skipping takes pushed-back bytes first";
    EXPECT_EQ(kxTestTake(*source, 9), "zef") << "and a block read ends with the data";
    EXPECT_EQ(source->read(nullptr, 5), 5U) << "skipping past the end still answers the count";
    source = kxMakeRef<ByteSource>("x");
    source->pushBack("abc", 3);
    EXPECT_EQ(source->flush(), 0U);
    source->setError("an error does not stop reading");
    EXPECT_EQ(kxTestTake(*source, 4), "x") << "flushing throws pushed-back bytes away";
}

TEST(kxSerializeAdapter, EnsureDataReadsAheadAndGivesBackInOrder)
{
    const std::tuple<const char*, std::string, std::uint32_t, bool> cases[] = {
        {"ready already", "abcd", 2, true},
        {"arrives while waiting", "abcd", 4, true},
        {"more than ever comes", "abcd", 5, false},
        {"one byte asks for data", "a", 1, true},
        {"one byte of none", "", 1, false},
        {"none asks whether the adapter is active", "", 0, true},
        {"a count that no memory holds costs only what is there", "abcd", 0xFFFFFFFF, false},
    };
    for (const auto& [why, bytes, count, expected] : cases) {
        kxRefPointer<ByteSource> source(new ByteSource(bytes, 2));
        EXPECT_EQ(source->ensureData(count), expected) << why;
        EXPECT_EQ(kxTestTake(*source, 100), bytes) << why;
    }
    const std::string bytes = kxTestPattern(2500000);  // of several reading steps
    kxRefPointer<ByteSource> source(new ByteSource(bytes, 10));
    EXPECT_TRUE(source->ensureData(2400000));
    EXPECT_EQ(source->length(), 2400010U);
    EXPECT_TRUE(kxTestTake(*source, 2500000) == bytes);
}

namespace {

class Rejoining : public ByteSource {
public:
    explicit Rejoining(kxSerializeAdapter& adapter) : ByteSource(""), adapter_(adapter) {}
    ~Rejoining() noexcept(false) override { adapter_.getInstanceDictionary().add(&adapter_, 5); }

private:
    kxSerializeAdapter& adapter_;
};

}  // namespace

TEST(kxSerializeAdapter, AnInstanceThatIsReleasedMayAddAnother)
{
    kxRefPointer<ByteSource> adapter(new ByteSource(""));
    adapter->getInstanceDictionary().add(new Rejoining(*adapter), 0);
    adapter->resetInstances();
    std::uint32_t id = 0;
    EXPECT_TRUE(adapter->getInstanceDictionary().find(adapter.get(), id));
    EXPECT_EQ(id, 5U);
    EXPECT_EQ(adapter->getReferenceCount(), 2U);
    adapter->resetInstances();
}

TEST(kxSerializeAdapter, KeepsInstancesAndOneAttachedObject)
{
    kxRefPointer<ByteSource> adapter(new ByteSource(""));
    kxRefPointer<ByteSource> object(new ByteSource(""));
    adapter->attachData(object.get());
    EXPECT_EQ(object->getReferenceCount(), 2U);
    adapter->attachData(kxRefPointer<ByteSource>(new ByteSource("")).get());
    EXPECT_EQ(object->getReferenceCount(), 1U);

    EXPECT_EQ(adapter->nextInstanceId(), 0U);
    EXPECT_EQ(adapter->nextInstanceId(), 1U);
    adapter->getInstanceDictionary().add(object.get(), 7);
    adapter->resetInstances();
    EXPECT_EQ(adapter->nextInstanceId(), 0U);
    EXPECT_EQ(adapter->getInstanceDictionary().count(), 0U);
    EXPECT_EQ(object->getReferenceCount(), 1U);
}
