#include "kxbase/string/kxUniqueString.h"
#include "support/kxTest.h"

#include <cstdlib>

namespace {

// A start-up constant of another unit: it must not get an id of the library's own.
const kxUniqueString madeBeforeMain("made before main");

const std::string longest(65535, 'x');

kxString unique(std::string_view text, std::uint16_t id = 0)
{
    kxString string(text);
    EXPECT_TRUE(kxUniqueString::make(string, id));
    return string;
}

TEST(kxUniqueString, OneTextHasOneIdAndOnePointer)
{
    EXPECT_EQ(unique("array", 8).text(), kxUniqueString(KX_UNIQUE_ARRAY).text());
    EXPECT_EQ(unique("array").uniqueId() + unique("Value not set").uniqueId(), 8 + 14);
    EXPECT_GT(madeBeforeMain.uniqueId(), 16);
    for (const std::string_view text : {std::string_view(longest), std::string_view("a\0b", 3)}) {
        const kxString first = unique(text), second = unique(text);
        EXPECT_TRUE(first.uniqueId() == second.uniqueId() && first.text() == kxString(second).text());
        EXPECT_TRUE(first == kxString(text) && first.hash() == kxString(text).hash());
    }
    EXPECT_EQ(kxUniqueString(longest + "cut").uniqueId(), unique(longest).uniqueId());
    const kxString kept = unique("text");
    kxString(kept).setCharacter(0, 'n');
    EXPECT_EQ(kept.view(), "text") << "a change is made to a copy";
}

TEST(kxUniqueString, RequestsDecideTheId)
{
    // The text that a request gets, or the fatal error.
    const auto request = [](const char* text, std::uint16_t id) {
        kxString string(text);
        const std::string fatal = kxFatalText([&] { EXPECT_TRUE(kxUniqueString::make(string, id)); });
        EXPECT_TRUE(!fatal.empty() || kxUniqueString::make(string, 999)) << "what has an id keeps it";
        EXPECT_EQ(string.uniqueId(), fatal.empty() ? id : 0);
        return fatal.empty() ? std::string(string) : fatal;
    };
    EXPECT_EQ(request("at 200", 200), request("at 200", 200));
    EXPECT_EQ(request("", 200), "at 200");
    EXPECT_EQ(request("", 300), request("Unique(300)", 300));
    EXPECT_EQ(request("at the end", 65535), "at the end");
    EXPECT_EQ(kxUniqueString(static_cast<kxUniqueId>(301)), request("", 301)) << "not one of the library's";
    const std::string bad = "Bad unique string (\"";
    EXPECT_EQ(request("array", 9), bad + "array\":9). String already used with ID (\"array\":8)");
    EXPECT_EQ(request("b", 200), bad + "b\":200). ID already used with string (\"at 200\":200)");
    kxString empty;
    EXPECT_FALSE(kxUniqueString::make(empty) || empty.uniqueId() != 0);
    EXPECT_EQ(kxUniqueString(static_cast<const char*>(nullptr)), empty) << "null is empty";
}

TEST(kxUniqueString, ThreadsAgreeOnEveryId)
{
    const auto work = [](std::vector<std::uint16_t>& ids) {
        for (int number = 0; number < 500; ++number)
            ids.push_back(unique("thread text " + std::to_string(number)).uniqueId());
        for (std::uint16_t id = 40000; id < 40200; ++id) ids.push_back(unique("", id).uniqueId());
    };
    std::vector<std::uint16_t> first, second;
    std::thread other([&] { work(second); });
    work(first);
    other.join();
    EXPECT_EQ(first, second);
}

TEST(kxUniqueStringDeathTest, AFullTableIsFatal)
{
    const auto fill = [] {
        const kxString known = unique(longest);
        for (int number = 0; kxUniqueString::count() < 65535; ++number) unique(std::to_string(number));
        const bool isFatal = !kxFatalText([] { unique("one too many"); }).empty();
        std::_Exit(isFatal && unique("", known.uniqueId()) == known ? 0 : 1);
    };
    EXPECT_EXIT(fill(), testing::ExitedWithCode(0), "");
}

}  // namespace
