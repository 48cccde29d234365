// One case for each fault that was found in this folder.
#include "kxbase/string/kxString.h"
#include "kxbase/string/kxUtf.h"
#include "support/kxTest.h"

#include <array>
#include <cmath>

namespace {
struct ConvertsToString {
    operator kxString() const { return "temporary"; }
};
static_assert(!std::is_constructible_v<kxArgument, ConvertsToString>, "would refer to a temporary string");
struct FaultyTranslator : kxMessageTranslatorInterface {
    kxString translate(std::string_view, const kxString&, std::uint32_t) override { return "x%q%q%q"; }
};
}  // namespace

TEST(kxStringFaults, TextArgumentsAreReadNoFurtherThanNeeded)
{
    const std::vector<char> narrow{'a', '\xC3', '\xA9', 'b'};
    const std::vector<char16_t> wide{u'a', 0xD83D, 0xDE00, u'b'};
    EXPECT_EQ(kxString::format("%.3s %.3S", narrow.data(), wide.data()), "a\u00E9b a\U0001F600b")
        << "no zero";
    EXPECT_EQ(kxString::format("%.2s %.2S", "\u00E9\u00E9\u00E9", u"\U0001F600\U0001F600x"),
              "\u00E9\u00E9 \U0001F600\U0001F600");
    EXPECT_EQ(kxString::format("%S", std::u16string_view(u"wide!").substr(0, 4)), "wide");
    EXPECT_EQ(kxArgument(std::string_view("", std::size_t{1} << 32U)).text(9).size(), 9U) << "saturates";
    EXPECT_EQ(kxString::format("%c", '\xE9'), "\xC3\xA9") << "a char is unsigned";
}

TEST(kxStringFaults, WideTextEndsWhereItIsReportedToEnd)
{
    std::array<char16_t, 20> units{};
    EXPECT_EQ(kxUtfToWide("abcdefg\xFF_________", units.data(), units.size()).written, 7U);
    EXPECT_EQ(std::u16string(units.data(), 9), std::u16string(u"abcdefg\0\0", 9));
}

TEST(kxStringFaults, WhatHasNoDigitsGetsNone)
{
    const kxMessageRecorder recorder;
    for (const char* format : {"%+8.400f", "%+#8f", "%+08e", "%+#8.400g"})
        EXPECT_EQ(kxString::format(format, HUGE_VAL), "       +") << format;
}

TEST(kxStringFaults, FaultsInAFormatWarningEnd)
{
    kxMessageRecorder recorder(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
    FaultyTranslator translator;
    kxMessageManager::instance().setTranslator(&translator);
    EXPECT_EQ(kxString::format("%q"), "");
    kxMessageManager::instance().setTranslator(nullptr);
    EXPECT_EQ(recorder.takeTexts().size(), 1U);
    const struct {
        const char* why;
        std::string_view fault;
        std::size_t count;
        std::size_t messages;
    } cases[] = {
        {"few are all told", "%q", 2, 2},
        {"each is as long as the format", "%q", 5000, 1},
        {"so many come to 1024 bytes", "%17$d", 5000, 22},
        {"and here", "%1$S", 5000, 17},
        {"each kind by itself", "%q%17$d%1$s%1$S%1$c%2$f", 50, 1 + 22 + 17 + 17 + 32 + 38},
    };
    for (const auto& c : cases) {
        std::string format;
        for (std::size_t i = 0; i < c.count; ++i) format += c.fault;
        kxString::format(format, -1, HUGE_VAL);
        EXPECT_EQ(recorder.takeTexts().size(), c.messages) << c.why;
    }
}

TEST(kxStringFaults, LengthsAreNotCut)
{
    const std::string full(KX_STRING_MAX_LENGTH, 'a');
    EXPECT_FALSE(kxString(full) == (full + 'a').c_str());
    EXPECT_LT(kxString(full), (full + 'a').c_str());
    EXPECT_EQ(kxString::format(static_cast<const char*>(nullptr)), "");
}
