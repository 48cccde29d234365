#include "kxbase/string/kxString.h"

#include "kxbase/string/kxStringCompareInterface.h"
#include "support/kxTest.h"

#include <bitset>
#include <unordered_set>

// A static string must not depend on start-up code.
static constinit kxString staticallyEmpty;

TEST(kxString, HasTheKnownHashes)
{
    // Computed with a few lines of Python that follow the definition over int.from_bytes(group, "little").
    EXPECT_EQ(kxString("abc").hash(), 0x616264U);
    EXPECT_EQ(kxString("abcde").hash(), 0xaca5a693U);
    EXPECT_EQ(kxString("\xC3\xA9x").hash(), 0xffffa97dU) << "tail bytes are signed";
    EXPECT_EQ(kxString("ab\0cd\0e", 7).hash(), 0xa564a69dU) << "zero bytes count";
    EXPECT_EQ(kxString(std::string(65535, 'k')).hash(), 0xf252U);
    EXPECT_EQ(kxString::hashOf("udp:", 0), 0x4e90ac8bU) << "a length of 0 is counted";
}

TEST(kxString, BehavesAsTheStandardString)
{
    kxTestRandom random(7);
    kxString string("x");
    std::string twin("x");
    for (int step = 0; step < 2000; ++step) {
        const auto byte = static_cast<char>(random());
        const auto at = random() % static_cast<std::uint32_t>(twin.size()), kind = random() % 5;
        if (kind == 0) string += byte, twin += byte;
        if (kind == 1) string += string.substring(at, 3), twin += twin.substr(at, 3);
        if (kind == 2) string.setCharacter(at, byte), twin[at] = byte;
        if (kind == 3) string = string.substring(at, 40), twin = twin.substr(at, 40);
        if (kind == 4) string = string + std::string_view(twin).substr(at, 2), twin += twin.substr(at, 2);
        ASSERT_TRUE(string.view() == twin && string.text()[twin.size()] == 0);
        ASSERT_EQ(string.hash(), kxString::hashOf(twin));
    }
}

TEST(kxString, TakesNothingAsEmptyAndCutsWhatIsTooLong)
{
    const kxString strings[] = {static_cast<const char*>(nullptr),
                                static_cast<const char16_t*>(nullptr),
                                "",
                                {"abc", 0},
                                kxString(),
                                staticallyEmpty};
    for (const kxString& string : strings)
        EXPECT_TRUE(string == kxString() && *string.text() == '\0' && string.hash() == 0);
    const std::string text(70000, 'x');
    for (const kxString& string : {kxString(text), kxString(text.c_str())})
        EXPECT_EQ(string.view(), text.substr(0, 65535));
}

TEST(kxString, IsAssignedFromItselfAndItsParts)
{
    kxString string("one two three");
    kxString& same = string;
    string = string.substring(4, 3).text() + 1;
    string = same;
    string = std::move(same);
    string += string;
    string += string.text() + 2;
    kxString target("old");
    target = std::move(string);
    EXPECT_EQ(target, "wowowo");
    EXPECT_TRUE(string.isEmpty() && string.hash() == 0);  // NOLINT: what is left behind is the point
    EXPECT_NE(kxString(target).text(), target.text()) << "every copy has a buffer of its own";
}

TEST(kxString, EndsAtItsBounds)
{
    kxString grown(std::string(65000, 'a')), string("abc");
    const kxString base(grown), added(std::string(536, 'b'));
    const std::string tooMany = "Too many characters in kxString", bounds = "kxString(index) out of bounds";
    EXPECT_EQ(kxFatalText([&] { base + added; }), tooMany);
    EXPECT_EQ(kxFatalText([&] { added.text() + base; }), tooMany);
    EXPECT_EQ(kxFatalText([&] { base.replaced("a", "aaaa"); }), tooMany);
    EXPECT_EQ(kxFatalText([&] { grown += added.text(); }), tooMany);
    EXPECT_EQ(grown, base) << "a failed addition changes nothing";
    EXPECT_EQ((grown += added.text() + 1).length(), 65535);
    // Longer text is counted up to the bound when only a pointer is given, and in full when its length is known.
    const std::string endless(70000, 'x');
    EXPECT_EQ(kxString() + endless.c_str(), endless.c_str() + kxString());
    EXPECT_EQ(kxString::hashOf(endless.c_str(), 0), (kxString() += endless.c_str()).hash());
    EXPECT_EQ(kxFatalText([&] { kxString() += std::string_view(endless); }), tooMany);
    EXPECT_EQ(kxFatalText([&] { (void)string[3]; }), bounds);
    EXPECT_EQ(kxFatalText([&] { string.setCharacter(3, 'x'); }), bounds);
    constexpr std::size_t wide = std::size_t{1}
                                 << 32U;  // the lower half of an index must not be taken for it
    EXPECT_EQ(kxFatalText([&] { (void)string[wide + 1]; }), bounds);
    EXPECT_EQ(kxFatalText([&] { string.setCharacter(wide, 'x'); }), bounds);
    EXPECT_EQ(kxFatalText([&] { string.substring(wide, 1); }), "kxString(index,len) out of bounds");
    EXPECT_TRUE(string.substring(0, wide) == "abc" && string.find('b', wide) == KX_STRING_NOT_FOUND);
    EXPECT_EQ(kxFatalText([&] { string.substring(3, 1); }), "kxString(index,len) out of bounds");
    EXPECT_EQ(string.substring(1, 100) + string.substring(5, 0) + string.substring(2, 0xFFFFFFFFU), "bcc");
}

TEST(kxString, IsOrderedByUnsignedBytes)
{
    const kxString ascending[] = {"", {"\0", 1}, "A", "a", "aa", "ab", "b", "\x7F", "\xC3\xA9"};
    for (const kxString* left = ascending; left != std::end(ascending); ++left)
        for (const kxString* right = ascending; right != std::end(ascending); ++right)
            EXPECT_TRUE((*left <=> *right) == (left <=> right) && (*left == *right) == (left == right))
                << *left << *right;
    EXPECT_NE(kxString("item0001"), kxString("item0003")) << "the hash is the same";
}

TEST(kxString, AsAKeyComparesEveryByteOfEveryLength)
{
    for (std::string text = "x"; text.size() <= 70; text += 'x')
        for (std::uint32_t at = 0; at < text.size(); ++at) {
            kxString other(text);
            other.setCharacter(at, 'y');
            EXPECT_FALSE(kxStringCompareInterface::isEqual(kxString(text), other)) << text << at;
        }
    EXPECT_TRUE(kxStringCompareInterface::isEqual(kxString("text"), kxString("text")));
}

TEST(kxString, SearchesAsTheStandardString)
{
    kxTestRandom random(11);
    for (int round = 0; round < 3000; ++round) {
        const std::string twin = std::bitset<12>(random()).to_string().substr(random() % 12);
        const std::string part = std::bitset<3>(random()).to_string().substr(random() % 4);
        const kxString string(twin);
        const std::uint32_t from = random() % 16;
        ASSERT_EQ(string.find(part, from), static_cast<std::uint32_t>(twin.find(part, from)));
        ASSERT_EQ(string.findLast(part, from), static_cast<std::uint32_t>(twin.rfind(part, from)));
        ASSERT_EQ(string.find('1', from), static_cast<std::uint32_t>(twin.find('1', from)));
        ASSERT_EQ(string.findLast('1'), static_cast<std::uint32_t>(twin.rfind('1')));
        ASSERT_EQ(string.startsWith(part), twin.starts_with(part));
        ASSERT_EQ(string.endsWith(part), twin.ends_with(part));
    }
}

TEST(kxString, ReplacesSplitsTrimsAndFolds)
{
    EXPECT_EQ(kxString("a.b.c").replaced(".", "::"), "a::b::c");
    EXPECT_EQ(kxString("....").replaced("..", ""), "") << "shrinks to nothing";
    EXPECT_EQ(kxString("aaa").replaced("aa", "ca"), "caa") << "from the left, and not what was put in";
    EXPECT_EQ(kxString("ab").replaced("", "x"), "ab") << "an empty text matches nothing";
    EXPECT_EQ(kxString("a,,b,").split(","), (std::vector<kxString>{"a", "", "b", ""}));
    EXPECT_EQ(kxString("a,b").split(""), std::vector<kxString>{"a,b"});
    const kxString padded(" \t\r\n\v\fa b\n "), blank(" \n "), mixed("aZ[`{\xC3\x84 1");
    EXPECT_EQ(padded.trimmed() + padded.trimmedLeft() + padded.trimmedRight(), "a ba b\n  \t\r\n\v\fa b");
    EXPECT_EQ(blank.trimmed() + blank.trimmedLeft() + blank.trimmedRight() + kxString().trimmed(), "");
    EXPECT_EQ(mixed.lowerCase() + mixed.upperCase(), "az[`{\xC3\x84 1AZ[`{\xC3\x84 1") << "only ASCII";
    EXPECT_TRUE(mixed.equalsIgnoreCase("Az[`{\xC3\x84 1") && !mixed.equalsIgnoreCase("Az"));
}

TEST(kxString, ReadsAndWritesCharactersAndNumbers)
{
    kxString string("a");
    string += u'\u20AC';
    EXPECT_EQ("<" + (string + 'z' + u'\u00E9' + U'\U0001F600'), "<a\xE2\x82\xACz\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(kxString::fromInteger(-1, {.base = 2, .minimumDigits = 0xFFFFFFFFU}).length(), 65535);
    EXPECT_EQ(kxString::fromDouble(-2.5, 0) + kxString::fromDouble(0.1), "-30.1");
    EXPECT_EQ(kxString::fromDouble(1, 32767).length(), 2 + 32767);
    EXPECT_EQ(kxString("\t -12.5e1 V").toDouble() + kxString("3,5").toDouble(','), -121.5);
}

TEST(kxString, TakesItsPlaceAmongStandardTypes)
{
    std::unordered_set<kxString> set{"one", "two", "one"};
    EXPECT_TRUE(set.size() == 2 && set.contains("two") &&
                std::hash<kxString>()("two") == kxString("two").hash());
    std::ostringstream stream;
    stream << std::setw(5) << kxString("a\0b", 3) << kxString();
    EXPECT_EQ(stream.str(), std::string("  a\0b", 5)) << "widths and zero bytes as for any text";
}
