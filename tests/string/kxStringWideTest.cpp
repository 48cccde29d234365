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
    const auto cutLength = [](const std::u16string& text) {
        EXPECT_EQ(kxString(text), kxString(text.c_str()));
        return kxString(text).length();
    };
    const std::u16string pair = u"\U0001F600";
    EXPECT_EQ(cutLength(std::u16string(70000, u'a')), 65535);
    EXPECT_EQ(cutLength(std::u16string(40000, u'\u00E9')), 65534) << "two bytes each";
    EXPECT_EQ(cutLength(std::u16string(65533, u'a') + pair), 65533) << "a pair that does not fit";
    EXPECT_EQ(cutLength(std::u16string(65531, u'a') + pair), 65535) << "a pair that just fits";
    EXPECT_EQ(cutLength(std::u16string(21844, u'\u20AC') + std::u16string(60000, u'a')), 65535);
}

TEST(kxStringWide, StopsAtTheFirstMalformedSequenceWithOneWarning)
{
    kxMessageRecorder recorder(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
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

TEST(kxStringWideBuffers, AreUsedInTurnByEachThread)
{
    const char16_t* const first = kxString("first").wide();
    EXPECT_EQ(std::u16string(first), u"first");
    std::thread([&] {
        for (std::uint32_t i = 0; i <= KX_STRING_WIDE_BUFFERS; ++i)
            EXPECT_NE(kxString("other").wide(), first);
    }).join();
    for (std::uint32_t i = 1; i < KX_STRING_WIDE_BUFFERS; ++i) kxString("next").wide();
    EXPECT_EQ(std::u16string(first), u"first") << "ten results are valid at the same time";
    EXPECT_EQ(kxString("last").wide(), first);
    EXPECT_EQ(std::u16string(first), u"last");
}

TEST(kxStringWideBuffers, HoldTheConvertedPart)
{
    kxMessageRecorder recorder(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
    EXPECT_EQ(std::u16string(kxString("h\xC3\xA9llo").wide(2)), u"h\u00E9");
    EXPECT_EQ(std::u16string(kxString("ab").wide(100)), u"ab");
    EXPECT_EQ(std::u16string(kxString().wide()), u"");
    EXPECT_EQ(std::u16string(kxString("a\xFF").wide(1)), u"a") << "stopped by the length, not by the fault";
    EXPECT_THAT(recorder.takeTexts(), IsEmpty());
    EXPECT_EQ(std::u16string(kxString("a\xFF"
                                      "b")
                                 .wide()),
              u"a");
    EXPECT_THAT(recorder.takeTexts(), ElementsAre("Utf encoding on faulty data set"));
    const std::string longText(60000, 'x');
    EXPECT_EQ(kxString(longText).wide()[59999], u'x');
}
