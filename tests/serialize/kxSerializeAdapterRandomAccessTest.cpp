#include "kxbase/serialize/kxSerializeAdapterRandomAccess.h"

#include "kxbase/serialize/kxSerializeAdapterFile.h"
#include "tests/support/kxScriptedAdapter.h"
#include "tests/support/kxTempDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace {

struct Fixture {
    kxScriptedAdapter::Journal journal;
    kxRefPointer<kxScriptedAdapter> parent{new kxScriptedAdapter("parent", journal)};

    kxRefPointer<kxSerializeAdapterRandomAccess> open(const std::string& ready)
    {
        parent->ready = ready;
        return kxMakeRef<kxSerializeAdapterRandomAccess>(parent);
    }
};

// Says that it has all that can be said and delivers three bytes.
class Boaster : public kxSerializeAdapter {
public:
    void writeByte(std::uint8_t /*byte*/) override { throw std::runtime_error("refused"); }
    std::uint8_t readByte() override { return 'x'; }
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override
    {
        mostWanted = std::max(mostWanted, count);
        std::fill_n(static_cast<char*>(bytes), 3, 'x');
        return 3;
    }
    std::uint32_t getDataLength() override { return std::numeric_limits<std::uint32_t>::max(); }
    std::uint32_t mostWanted = 0;
};

}  // namespace

TEST(kxSerializeAdapterRandomAccess, ServesACopyAndWritesItBackWhole)
{
    Fixture fixture;
    auto& parent = fixture.parent;
    auto access = fixture.open("0123456789");
    EXPECT_EQ(access->getDataLength(), 10U);
    EXPECT_EQ(parent->length(), 0U) << "drained";
    access->setPosition(8);
    access->write("abc", 3);
    access->setPosition(13);
    EXPECT_EQ(access->getDataLength(), 0U);
    access->write("", 0);
    EXPECT_EQ(access->readByte(), 0) << "beyond the end the copy grows";
    access->setPosition(7);
    char bytes[9] = {};
    EXPECT_EQ(access->read(bytes, 9), 7U) << "blocks end where the copy ends";
    EXPECT_EQ(std::string(bytes, 7), std::string("7abc\0\0\0", 7));
    fixture.journal.clear();
    access = nullptr;
    EXPECT_EQ(parent->written, std::string("01234567abc\0\0\0", 14));
    EXPECT_EQ(fixture.journal.size(), 1U) << "in one block";
}

TEST(kxSerializeAdapterRandomAccess, WritesNothingBackWhenOnlyRead)
{
    Fixture fixture;
    auto access = fixture.open("01");
    for (int turn = 0; turn < 5; ++turn) access->readByte();
    access = nullptr;
    EXPECT_EQ(fixture.parent->written, "");
}

TEST(kxSerializeAdapterRandomAccess, HoldsWhatCameOfAParentThatSaidMore)
{
    const auto parent = kxMakeRef<Boaster>();
    auto access = kxMakeRef<kxSerializeAdapterRandomAccess>(parent);
    EXPECT_EQ(access->getDataLength(), 3U);
    EXPECT_LE(parent->mostWanted, 1024U * 1024U);
    access->setPosition(std::numeric_limits<std::uint32_t>::max());
    EXPECT_THROW(access->writeByte('x'), std::bad_alloc);
    EXPECT_EQ(access->getPosition(), std::numeric_limits<std::uint32_t>::max());
    access->setPosition(0);
    access->writeByte('y');
    EXPECT_THROW(access = nullptr, std::runtime_error);
}

TEST(kxSerializeAdapterRandomAccess, EndsWhereItsParentHasEnded)
{
    const kxTempDirectory folder;
    const std::string path = folder.write("data", "abc");
    const auto file = kxMakeRef<kxSerializeAdapterFile>(path.c_str(), KX_SERIALIZE_INPUT, false);
    const auto access = kxMakeRef<kxSerializeAdapterRandomAccess>(file);
    EXPECT_FALSE(access->hasError()) << "there is data left";
    access->read(nullptr, 3);
    EXPECT_TRUE(access->hasError());
    EXPECT_EQ(access->getError(), "End of file");
    access->setPosition(1);
    EXPECT_FALSE(access->hasError());
}
