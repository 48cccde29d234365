#include "kxbase/core/kxFatalError.h"
#include "kxbase/string/kxString.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <string>

using testing::ElementsAre;

TEST(kxStringSearch, AgreesWithTheStandardStringOnRandomTexts)
{
    std::mt19937 random(11);
    const auto text = [&](std::size_t longest) {
        std::string letters(random() % (longest + 1), ' ');
        for (char& letter : letters) letter = static_cast<char>('a' + random() % 2);
        return letters;
    };
    const auto index = [](std::size_t found) {
        return found == std::string::npos ? KX_STRING_NOT_FOUND : static_cast<std::uint32_t>(found);
    };
    for (int round = 0; round < 3000; ++round) {
        const std::string twin = text(12), part = text(3);
        const kxString string(twin);
        const auto from = static_cast<std::uint32_t>(random() % 16);
        ASSERT_EQ(string.find(part, from), index(twin.find(part, from)));
        ASSERT_EQ(string.findLast(part, from), index(twin.rfind(part, from)));
        ASSERT_EQ(string.find('b', from), index(twin.find('b', from)));
        ASSERT_EQ(string.findLast('b'), index(twin.rfind('b')));
        ASSERT_EQ(string.startsWith(part), twin.starts_with(part));
        ASSERT_EQ(string.endsWith(part), twin.ends_with(part));
        // Joining the pieces again shows that none is lost, and that none holds the separator.
        std::string joined;
        for (const kxString& piece : string.split("b")) joined += std::string(piece) + "b";
        ASSERT_EQ(joined, twin + "b");
    }
}

TEST(kxStringSearch, ReplacesEveryMatchFromTheLeft)
{
    EXPECT_EQ(kxString("a.b.c").replaced(".", "::"), kxString("a::b::c"));
    EXPECT_EQ(kxString("....").replaced("..", ""), kxString()) << "shrinks to nothing";
    EXPECT_EQ(kxString("aaa").replaced("aa", "b"), kxString("ba")) << "matches do not overlap";
    EXPECT_EQ(kxString("ab").replaced("a", "aa"), kxString("aab")) << "what was put in is not searched";
    EXPECT_EQ(kxString("ab").replaced("", "x"), kxString("ab")) << "an empty text matches nothing";
    EXPECT_EQ(kxString("ab").replaced("c", "x"), kxString("ab"));
}

TEST(kxStringSearch, TrimsAndSplits)
{
    const kxString padded(" \t\r\n\v\fa b\n ");
    EXPECT_EQ(padded.trimmed(), "a b");
    EXPECT_EQ(padded.trimmedLeft(), "a b\n ");
    EXPECT_EQ(padded.trimmedRight(), " \t\r\n\v\fa b");
    EXPECT_EQ(kxString(" \n ").trimmed(), "");
    EXPECT_EQ(kxString(" \n ").trimmedLeft(), "");
    EXPECT_EQ(kxString(" \n ").trimmedRight(), "");
    EXPECT_EQ(kxString().trimmed(), "");

    EXPECT_THAT(kxString("a,,b,").split(","), ElementsAre("a", "", "b", ""));
    EXPECT_THAT(kxString("").split(","), ElementsAre(""));
    EXPECT_THAT(kxString("a,b").split(""), ElementsAre("a,b"));
}

TEST(kxStringSearch, FoldsTheCaseOfAsciiOnly)
{
    const kxString mixed("aZ[`{\xC3\x84 1");
    EXPECT_EQ(mixed.lowerCase(), "az[`{\xC3\x84 1");
    EXPECT_EQ(mixed.upperCase(), "AZ[`{\xC3\x84 1");
    EXPECT_EQ(mixed.upperCase().hash(), kxString::hashOf("AZ[`{\xC3\x84 1"));
    EXPECT_TRUE(mixed.equalsIgnoreCase("Az[`{\xC3\x84 1"));
    EXPECT_FALSE(mixed.equalsIgnoreCase("Az[`{\xC3\xA4 1"));
    EXPECT_FALSE(mixed.equalsIgnoreCase("Az"));
}
