#include "kxbase/string/kxString.h"

#include "kxbase/core/kxFatalError.h"

#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <string>

namespace {

// A static string must not depend on start-up code.
constinit kxString staticallyEmpty;

// The hash once more, byte by byte and in 64 bits, as slow and plain as it can be said.
std::uint32_t plainHash(const std::string& text)
{
    const std::uint64_t mask = 0xFFFFFFFFU;
    std::uint64_t h = text.size();
    const std::size_t groups = text.size() / 4;
    for (std::size_t g = 0; g < groups; ++g) {
        std::uint64_t v = 0;
        for (std::size_t i = 0; i < 4; ++i)
            v += static_cast<std::uint64_t>(static_cast<unsigned char>(text[4 * g + i])) << (8 * i);
        h = (h ^ ((v ^ (groups - 1 - g)) | (h * 2))) & mask;
    }
    std::uint64_t t = 0;
    for (std::size_t i = 4 * groups; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        t = ((t * 256) | (byte < 0x80 ? byte : 0xFFFFFF00U + byte)) & mask;
    }
    return static_cast<std::uint32_t>((((h * 2) | t) ^ h) & mask);
}

std::string fatalText(const std::function<void()>& action)
{
    try {
        action();
    } catch (const kxFatalError& error) {
        return error.what();
    }
    return "";
}

void expectSound(const kxString& string)
{
    EXPECT_EQ(string.text()[string.length()], 0);
    EXPECT_EQ(string.hash(), plainHash(std::string(string.view())));
}

}  // namespace

TEST(kxStringHash, GivesTheKnownValues)
{
    // Computed with a few lines of Python that follow the definition over int.from_bytes(group, "little").
    const struct {
        const char* why;
        std::string text;
        std::uint32_t hash;
    } cases[] = {
        {"empty", "", 0},
        {"tail alone", "abc", 0x616264},
        {"group and tail", "abcde", 0xaca5a693},
        {"a name of a scheme", "udp:", 0x4e90ac8b},
        {"tail bytes are signed", "\xC3\xA9x", 0xffffa97d},
        {"zero bytes count", std::string("ab\0cd\0e", 7), 0xa564a69d},
        {"the longest", std::string(65535, 'k'), 0xf252},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(kxString::hashOf(c.text), c.hash);
        EXPECT_EQ(kxString(c.text.data(), c.text.size()).hash(), c.hash);
    }
    EXPECT_EQ(kxString::hashOf("udp:", 0), 0x4e90ac8bU) << "a length of 0 is counted";
}

TEST(kxStringHash, StaysCurrentUnderRandomChanges)
{
    std::mt19937 random(7);
    kxString string;
    std::string twin;
    for (int step = 0; step < 2000; ++step) {
        const auto byte = static_cast<char>(random() % 256);
        const auto at = static_cast<std::uint32_t>(twin.empty() ? 0 : random() % twin.size());
        const auto kind = twin.empty() ? 0 : random() % 5;
        if (kind == 0) string += byte, twin += byte;
        if (kind == 1) string += string.substring(at, 3), twin += twin.substr(at, 3);
        if (kind == 2) string.setCharacter(at, byte), twin[at] = byte;
        if (kind == 3) string = string.substring(at, 40), twin = twin.substr(at, 40);
        if (kind == 4) string = string + std::string_view(twin).substr(at, 2), twin += twin.substr(at, 2);
        ASSERT_EQ(string.view(), twin);
        expectSound(string);
    }
}

TEST(kxStringConstruction, TakesNothingAsEmpty)
{
    const kxString strings[] = {
        nullptr,        static_cast<const char*>(nullptr),     "",  std::string_view(),
        {"abc", 0},     static_cast<const char16_t*>(nullptr), u"", kxString(),
        staticallyEmpty};
    for (const kxString& string : strings) {
        EXPECT_TRUE(string.isEmpty());
        EXPECT_STREQ(string.text(), "");
        EXPECT_EQ(string.hash(), 0U);
        EXPECT_EQ(string, kxString());
    }
}

TEST(kxStringConstruction, CutsLongTextSilentlyAndKeepsZeroBytes)
{
    const std::string text(70000, 'x');
    EXPECT_EQ(kxString(text.c_str()).length(), 65535);
    EXPECT_EQ(kxString(text).length(), 65535);
    expectSound(kxString(text));
    const kxString zeros("a\0b", 3);
    EXPECT_EQ(zeros.length(), 3);
    EXPECT_NE(zeros, kxString("a"));
    std::string unterminated(65535, 'y');
    EXPECT_EQ(kxString(unterminated.c_str()).view(), unterminated);
}

TEST(kxStringAssignment, ReplacesFromAnythingIncludingItself)
{
    kxString string("one two three");
    string = string.substring(4, 3);
    EXPECT_EQ(string, "two");
    string = string.text() + 1;
    EXPECT_EQ(string, "wo");
    kxString& same = string;
    string = same;
    string = std::move(same);
    EXPECT_EQ(string, "wo");
    string += string;
    EXPECT_EQ(string, "wowo");

    kxString target("old");
    target = std::move(string);
    EXPECT_EQ(target, "wowo");
    EXPECT_TRUE(string.isEmpty());  // NOLINT: what is left behind is the point
    EXPECT_EQ(string.hash(), 0U);
    const kxString copy(target);
    EXPECT_NE(copy.text(), target.text()) << "every copy has a buffer of its own";
}

TEST(kxStringConcatenation, EndsAtTheLongestText)
{
    const kxString base(std::string(65000, 'a'));
    const std::string tooMuch(536, 'b');
    const std::string fits(535, 'b');
    const char* const expected = "Too many characters in kxString";
    EXPECT_EQ(fatalText([&] { base + kxString(tooMuch); }), expected);
    EXPECT_EQ(fatalText([&] { base + tooMuch.c_str(); }), expected);
    EXPECT_EQ(fatalText([&] { base + std::string_view(tooMuch); }), expected);
    EXPECT_EQ(fatalText([&] { tooMuch.c_str() + base; }), expected);
    EXPECT_EQ(fatalText([&] { base.replaced("a", "aaaa"); }), expected);

    kxString grown(base);
    EXPECT_EQ(fatalText([&] { grown += tooMuch.c_str(); }), expected);
    EXPECT_EQ(grown, base) << "a failed addition changes nothing";
    grown += fits.c_str();
    EXPECT_EQ(grown.length(), 65535);
    expectSound(grown);
    EXPECT_EQ(fatalText([&] { grown += 'c'; }), expected);
    grown += "";
    EXPECT_EQ(grown.length(), 65535);
}

TEST(kxStringConcatenation, EncodesCharacters)
{
    EXPECT_EQ(kxString("a") + 'b' + u'\u00E9' + U'\U0001F600', "ab\xC3\xA9\xF0\x9F\x98\x80");
    kxString string;
    string += u'\u20AC';
    string += "x";
    EXPECT_EQ("<" + string + ">", "<\xE2\x82\xACx>");
    EXPECT_EQ(kxString(U'\x7FFFFFFF').length(), 6);
}

TEST(kxStringAccess, ChecksItsBounds)
{
    kxString string("abc");
    EXPECT_EQ(string[2], 'c');
    const char* const expected = "kxString(index) out of bounds";
    EXPECT_EQ(fatalText([&] { (void)string[3]; }), expected);
    EXPECT_EQ(fatalText([&] { string.setCharacter(3, 'x'); }), expected);
    EXPECT_EQ(fatalText([&] { (void)kxString()[0]; }), expected);
    string.setCharacter(1, 'X');
    EXPECT_EQ(string, "aXc");
}

TEST(kxStringSubstring, CutsTheCountButNotTheStart)
{
    const kxString string("abc");
    EXPECT_EQ(string.substring(0, 3), "abc");
    EXPECT_EQ(string.substring(1, 100), "bc") << "the count is cut";
    EXPECT_EQ(string.substring(2, 0xFFFFFFFFU), "c") << "a sum that would wrap";
    EXPECT_EQ(string.substring(5, 0), "") << "nothing needs no valid start";
    EXPECT_EQ(fatalText([] { kxString("abc").substring(3, 1); }), "kxString(index,len) out of bounds");
    EXPECT_EQ(fatalText([] { kxString().substring(0, 1); }), "kxString(index,len) out of bounds");
}

TEST(kxStringComparison, OrdersByUnsignedBytes)
{
    const kxString ascending[] = {"", {"\0", 1}, "A", "a", "aa", "ab", "b", "\x7F", "\xC3\xA9"};
    for (std::size_t i = 0; i < std::size(ascending); ++i) {
        for (std::size_t j = 0; j < std::size(ascending); ++j) {
            EXPECT_EQ(ascending[i] <=> ascending[j], i <=> j) << i << ' ' << j;
            EXPECT_EQ(ascending[i] == ascending[j], i == j) << i << ' ' << j;
            EXPECT_EQ(ascending[i] <=> ascending[j].view(), i <=> j);
        }
    }
    // Both have the same length and the same hash, so that only the bytes tell them apart.
    const kxString one("item0001"), other("item0003");
    ASSERT_EQ(one.hash(), other.hash());
    EXPECT_NE(one, other);
}

TEST(kxStringComparison, WorksWithEveryKindOfText)
{
    const kxString string("text");
    const std::string standard("text");
    EXPECT_TRUE(string == "text" && "text" == string && string == standard && standard == string);
    EXPECT_TRUE(string == std::string_view("text") && string < "textual" && "a" < string);
    EXPECT_EQ(std::string(string), standard);
    EXPECT_EQ(std::hash<kxString>()(string), string.hash());
    std::ostringstream stream;
    stream << string;
    EXPECT_EQ(stream.str(), "text");
}

TEST(kxStringNumbers, ReadsAndWritesThem)
{
    EXPECT_EQ(kxString::fromInteger(-42, {.minimumDigits = 4}), "-0042");
    EXPECT_EQ(kxString::fromUnsigned(0xFFFFFFFFFFFFFFFFU, {.base = 16, .digitCase = KX_DIGITS_UPPER}),
              "FFFFFFFFFFFFFFFF");
    EXPECT_EQ(kxString::fromInteger(-1, {.base = 2, .minimumDigits = 0xFFFFFFFFU}).view(),
              "-" + std::string(65534, '0'));
    EXPECT_EQ(kxString::fromDouble(-2.5, 0), "-3");
    EXPECT_EQ(kxString::fromDouble(0.1), "0.1");
    EXPECT_EQ(kxString::fromDouble(1, 32767).length(), 2 + 32767);
    EXPECT_EQ(kxString("\t -12.5e1 V").toDouble(), -125.0);
    EXPECT_EQ(kxString("3,5").toDouble(','), 3.5);
}
