#include "kxbase/serialize/kxSerializeAdapterRandomAccess.h"

#include "kxbase/serialize/kxSerializeAdapterFile.h"
#include "support/kxScriptedAdapter.h"
#include "support/kxTest.h"

#include <new>

TEST(kxSerializeAdapterRandomAccess, ServesACopyAndWritesItBackWhole)
{
    kxScriptedAdapter::Journal journal;
    const kxRefPointer<kxScriptedAdapter> parent(new kxScriptedAdapter("parent", journal));
    parent->ready = "0123456789";
    auto access = kxMakeRef<kxSerializeAdapterRandomAccess>(parent);
    EXPECT_EQ(access->getDataLength(), 10U);
    EXPECT_EQ(parent->length(), 0U) << "drained";
    access->setPosition(8);
    access->write("abc", 3);
    access->setPosition(13);
    EXPECT_EQ(access->getDataLength(), 0U);
    access->write("", 0);
    EXPECT_EQ(access->readByte(), 0) << "beyond the end the copy grows";
    access->setPosition(7);
    EXPECT_EQ(kxTestTake(*access, 9), std::string("7abc\0\0\0", 7)) << "blocks end where the copy ends";
    journal.clear();
    access = nullptr;
    EXPECT_EQ(parent->written, std::string("01234567abc\0\0\0", 14));
    EXPECT_EQ(journal.size(), 1U) << "in one block";

    parent->ready = "01";
    access = kxMakeRef<kxSerializeAdapterRandomAccess>(parent);
    for (int turn = 0; turn < 5; ++turn) access->readByte();
    access = nullptr;
    EXPECT_EQ(journal.back(), "parent.read 2") << "nothing back when it was only read";
}

TEST(kxSerializeAdapterRandomAccess, HoldsWhatCameOfAParentThatSaidMore)
{
    kxScriptedAdapter::Journal journal;
    const kxRefPointer<kxScriptedAdapter> parent(new kxScriptedAdapter("parent", journal));
    parent->ready = "xyz";
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
    parent->claimed = kMost;
    const auto access = kxMakeRef<kxSerializeAdapterRandomAccess>(parent);
    EXPECT_EQ(access->getDataLength(), 3U);
    EXPECT_EQ(journal, kxScriptedAdapter::Journal{"parent.read 1048576"});
    access->setPosition(kMost);
    EXPECT_THROW(access->writeByte('x'), std::bad_alloc);
    EXPECT_EQ(access->getPosition(), kMost);
}

TEST(kxSerializeAdapterRandomAccess, EndsWhereItsParentHasEnded)
{
    const kxTempDirectory folder;
    const std::string path = folder.write("data", "abc");
    const auto file = kxMakeRef<kxSerializeAdapterFile>(path.c_str(), KX_SERIALIZE_INPUT, false);
    const auto access = kxMakeRef<kxSerializeAdapterRandomAccess>(file);
    EXPECT_FALSE(access->hasError()) << "there is data left";
    access->read(nullptr, 3);
    EXPECT_FALSE(access->hasError()) << "asking is no look";
    EXPECT_EQ(access->length(), 0U);
    EXPECT_TRUE(access->hasError());
    EXPECT_EQ(access->getError(), "End of file");
    access->setPosition(1);
    EXPECT_FALSE(access->hasError());
}
