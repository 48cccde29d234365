#include "kxbase/serialize/kxSerializeAdapterMemory.h"
#include "support/kxTest.h"

namespace {

using Memory = kxRefPointer<kxSerializeAdapterMemory>;

constexpr const char* kWritten = "Memory Adapter written beyond end";
constexpr const char* kRead = "Memory Adapter read beyond end";
constexpr const char* kMovedEnd = "Memory Adapter moved beyond end";

}  // namespace

TEST(kxSerializeAdapterMemory, MovesWhatFitsAndWorksOnAfterAnError)
{
    char block[] = "....#", bytes[8] = {};
    Memory byByte(new kxSerializeAdapterMemory(block, 4)), byBlock(new kxSerializeAdapterMemory(block, 4));
    for (const char byte : {'a', 'b', 'c', 'd'}) byByte->writeByte(static_cast<std::uint8_t>(byte));
    EXPECT_FALSE(byByte->hasError());
    byByte->writeByte('e');
    EXPECT_EQ(byByte->getError(), kWritten);
    byBlock->writeByte('1');
    byBlock->write("2345", 4);
    EXPECT_EQ(byBlock->getError(), kWritten);
    EXPECT_STREQ(block, "1234#");

    Memory memory(new kxSerializeAdapterMemory(block, 4));
    EXPECT_EQ(memory->readByte(), '1');
    EXPECT_EQ(memory->read(bytes, 8), 3U);
    EXPECT_STREQ(bytes, "234");
    EXPECT_EQ(memory->readByte(), 0);
    memory->move(-2);
    EXPECT_EQ(memory->readByte(), '3');
    EXPECT_EQ(memory->getError(), kRead) << "the text stays";
    memory->pushBack('x');
    EXPECT_EQ(memory->flush() + memory->length(), 0U) << "flushing empties it";
    memory->writeByte('z');
    EXPECT_STREQ(block, "1234#");
}

TEST(kxSerializeAdapterMemory, MovesWithinTheBlockOnly)
{
    const std::tuple<const char*, std::uint32_t, std::int32_t, const char*, std::uint32_t> cases[] = {
        {"forward", 2, 3, "", 5},
        {"backward to the beginning", 2, -2, "", 10},
        {"the last byte", 2, 7, "", 1},
        {"the end itself counts as beyond", 2, 8, kMovedEnd, 8},
        {"nowhere, at the end", 10, 0, kMovedEnd, 0},
        {"before the beginning wraps", 2, -5, kMovedEnd, 8},
        {"far before the beginning wraps", 2, std::numeric_limits<std::int32_t>::min(), kMovedEnd, 8},
    };
    for (const auto& [why, start, offset, error, leftAfter] : cases) {
        char block[10] = {}, bytes[10];
        Memory memory(new kxSerializeAdapterMemory(block, 10));
        memory->read(bytes, start);
        memory->move(offset);
        EXPECT_TRUE(memory->getError() == error && memory->getDataLength() == leftAfter) << why;
    }
}
