#include "kxbase/string/kxString.h"

#include "support/kxMessageRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

TEST(kxStringWide, JoinsPairsAndEncodesSingleSurrogates)
{
    EXPECT_EQ(kxString(u"a\u00E9\u20AC\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    const char16_t lone[] = {0xDC00, u'x', 0xD83D, 0};
    EXPECT_EQ(kxString(lone), "\xED\xB0\x80x\xED\xA0\xBD");
    EXPECT_EQ(kxString(std::u16string_view(u"a\0b", 3)), kxString("a\0b", 3));
    EXPECT_EQ(kxString(u'\u20AC'), "\xE2\x82\xAC");
}

TEST(kxStringWide, CutsAtTheLastWholeCharacter)
{
    const struct {
        const char* why;
        std::u16string text;
        std::uint16_t length;
    } cases[] = {
        {"fits exactly", std::u16string(65535, u'a'), 65535},
        {"plain", std::u16string(70000, u'a'), 65535},
        {"two bytes each", std::u16string(40000, u'\u00E9'), 65534},
        {"three bytes each fit exactly", std::u16string(30000, u'\u20AC'), 65535},
        {"pair at the end", std::u16string(65533, u'a') + u"\U0001F600", 65533},
        {"pair that just fits", std::u16string(65531, u'a') + u"\U0001F600", 65535},
        {"plain tail behind wide letters", std::u16string(21845, u'\u20AC') + std::u16string(60000, u'a'),
         65535},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(kxString(c.text).length(), c.length);
        EXPECT_EQ(kxString(c.text.c_str()).length(), c.length);
    }
}

TEST(kxStringWide, StopsAtTheFirstMalformedSequenceWithOneWarning)
{
    kxMessageRecorder recorder;
    char16_t units[16] = {};
    EXPECT_EQ(kxString("a\xFF"
                       "b\xFF")
                  .copyWide(units, false),
              1U);
    EXPECT_EQ(units[0], u'a');
    EXPECT_THAT(recorder.takeTexts(), ElementsAre("Utf encoding on faulty data set"));

    EXPECT_EQ(kxString("a\xFF"
                       "b")
                  .characterCount(),
              1U);
    EXPECT_EQ(kxString("a\xC3\xA9\xE2\x82").characterCount(), 2U);
    EXPECT_EQ(kxString().characterCount(), 0U);
    EXPECT_EQ(kxString("abc").copyWide(nullptr, true), 0U);
    EXPECT_THAT(recorder.takeTexts(), IsEmpty()) << "counting does not warn";
}

TEST(kxStringWide, TruncatesToUnitsAndTerminatesOnRequest)
{
    char16_t units[8];
    std::fill(std::begin(units), std::end(units), u'?');
    EXPECT_EQ(kxString("\xF0\x9F\x98\x80z").copyWide(units, false), 2U);
    EXPECT_EQ(units[0], 0xF600);
    EXPECT_EQ(units[2], u'?');
    EXPECT_EQ(kxString("xy").copyWide(units, true), 2U);
    EXPECT_EQ(units[2], 0);
}
