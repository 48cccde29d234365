#include "kxbase/string/kxUniqueString.h"

#include "tests/support/kxFatalText.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

// A start-up constant of another unit: it must not get an id of the library's own.
const kxUniqueString madeBeforeMain("made before main");

kxString unique(std::string_view text, std::uint16_t id = 0)
{
    kxString string(text);
    EXPECT_TRUE(kxUniqueString::make(string, id));
    return string;
}

TEST(kxUniqueString, TheLibrarysOwnTextsHaveTheirIds)
{
    EXPECT_EQ(unique("array").uniqueId(), 8);
    EXPECT_EQ(unique("Value not set").uniqueId(), 14);
    EXPECT_EQ(kxUniqueString(KX_UNIQUE_ARRAY).text(), unique("array", 8).text());
    EXPECT_TRUE(kxUniqueString(KX_UNIQUE_NONE).isEmpty());
    EXPECT_GT(madeBeforeMain.uniqueId(), 16);
}

TEST(kxUniqueString, SameTextGivesSameIdAndPointer)
{
    const kxString first = unique("same text");
    const kxString second = unique("same text");
    const kxString copy(second);
    EXPECT_EQ(first.uniqueId(), copy.uniqueId());
    EXPECT_EQ(first.text(), copy.text());
    EXPECT_EQ(first, kxString("same text"));
    EXPECT_EQ(first.hash(), kxString("same text").hash());
    EXPECT_NE(first, unique("other text"));
}

TEST(kxUniqueString, RequestsDecideTheId)
{
    const struct {
        const char* why;
        const char* text;
        std::uint16_t id;
        const char* fatal;
        const char* expected;
    } cases[] = {
        {"a free id is given", "at 200", 200, "", "at 200"},
        {"again, the same", "at 200", 200, "", "at 200"},
        {"an empty text takes the text of the id", "", 200, "", "at 200"},
        {"a free id without text", "", 300, "", "Unique(300)"},
        {"that text is registered from then on", "Unique(300)", 0, "", "Unique(300)"},
        {"the highest id", "at the end", 65535, "", "at the end"},
        {"a text under a second id", "array", 9,
         "Bad unique string (\"array\":9). String already used with ID (\"array\":8)", ""},
        {"a second text under an id", "another", 200,
         "Bad unique string (\"another\":200). ID already used with string (\"at 200\":200)", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        kxString string(c.text);
        EXPECT_EQ(kxFatalText([&] { EXPECT_TRUE(kxUniqueString::make(string, c.id)); }), c.fatal);
        if (*c.fatal != '\0') continue;
        EXPECT_EQ(string, c.expected);
        EXPECT_NE(string.uniqueId(), 0);
        EXPECT_TRUE(c.id == 0 || string.uniqueId() == c.id);
    }
}

TEST(kxUniqueString, WhatHasAnIdOrNoTextStaysAsItIs)
{
    kxString known = unique("has an id");
    const std::uint16_t id = known.uniqueId();
    EXPECT_TRUE(kxUniqueString::make(known, 999));
    EXPECT_EQ(known.uniqueId(), id);
    kxString empty;
    EXPECT_FALSE(kxUniqueString::make(empty));
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_EQ(empty.uniqueId(), 0);
}

TEST(kxUniqueString, KeepsLongestTextsAndZeroBytes)
{
    const std::string longest(65535, 'x');
    EXPECT_EQ(unique(longest).uniqueId(), unique(longest).uniqueId());
    EXPECT_EQ(unique(longest).length(), 65535);
    const std::string_view zeros("a\0b", 3);
    EXPECT_NE(unique(zeros).uniqueId(), unique("a").uniqueId());
    EXPECT_EQ(unique(zeros).view(), zeros);
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
        for (std::uint32_t number = 0; kxUniqueString::count() < 65535; ++number)
            unique("fill " + std::to_string(number));
        const bool knownStillWorks = unique("array").uniqueId() == 8;
        const bool isFatal = !kxFatalText([] { unique("one too many"); }).empty();
        std::_Exit(knownStillWorks && isFatal ? 0 : 1);
    };
    EXPECT_EXIT(fill(), testing::ExitedWithCode(0), "");
}

}  // namespace
