#include "kxbase/string/kxFormatter.h"

#include "kxbase/core/kxFatalError.h"
#include "kxbase/string/kxString.h"
#include "support/kxMessageRecorder.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

using testing::IsEmpty;

namespace {

struct Case {
    const char* why;
    const char* format;
    const char* expected;
};

// The text of a format that must send exactly the given messages.
template <typename... Arguments>
kxString formatted(const std::vector<std::string>& messages, const char* format,
                   const Arguments&... arguments)
{
    kxMessageRecorder recorder(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
    kxString text = kxString::format(format, arguments...);
    EXPECT_EQ(recorder.takeTexts(), messages) << format;
    return text;
}

}  // namespace

TEST(kxFormatter, GoesThroughEveryRowOfItsTable)
{
    // The arguments are 1 to 5.
    const Case cases[] = {
        {"text", "plain \xE2\x82\xAC", "plain \xE2\x82\xAC"},
        {"percent twice", "a%%b%%", "a%b%"},
        {"star then $: position from the first argument", "%*$d", "1"},
        {"star position does not move on further", "%*$d %d", "1 2"},
        {"star then other: width from the first argument", "%*d", "2"},
        {"number then $", "%3$d %d", "3 1"},
        {"number then other: width", "%3d", "  1"},
        {"a sign behind a width is no flag", "%3+d", "d"},
        {"flags after a position", "%2$-3d|", "2  |"},
        {"left", "%-3d|", "1  |"},
        {"plus", "%+d", "+1"},
        {"zero", "%03d", "001"},
        {"blank", "% d", " 1"},
        {"alternate", "%#x", "0x1"},
        {"plus beats blank before it", "% +d", "+1"},
        {"plus beats blank behind it", "%+ d", "+1"},
        {"left beats zero before it", "%0-3d|", "1  |"},
        {"left beats zero behind it", "%-03d|", "1  |"},
        {"width star after flags", "%+*d", "+2"},
        {"precision star", "%.*d", "2"},
        {"precision digits", "%.12d", "000000000001"},
        {"a dot alone is no precision", "%.d", "1"},
        {"width star and precision star", "%-*.*d|", "03|"},
        {"sizes", "%hd%Hd%ld%Ld%lld", "12345"},
        {"mixed long letters", "%lLd", "1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.why) + ": " + c.format);
        EXPECT_EQ(kxString::format(c.format, 1, 2, 3, 4, 5), c.expected);
    }
}

TEST(kxFormatter, TakesNumbersOfTheGivenSize)
{
    const std::int64_t value = -4294967297;  // all of 64 bits, but -1 in 32 and 16
    EXPECT_EQ(kxString::format("%d %lld %ld %hd", value, value, value, value),
              "-4294967297 -4294967297 -1 -1");
    EXPECT_EQ(kxString::format("%u %lu %hu", value, value, value), "18446744069414584319 4294967295 65535");
    EXPECT_EQ(kxString::format("%x %ho %hb", value, value, value),
              "fffffffeffffffff 177777 1111111111111111");
}

TEST(kxFormatter, LaysIntegersOutAsPrintfDoes)
{
    const char* const formats[] = {"%d",      "%5d",   "%-5d|", "%05d",  "%+d",   "% d",   "%.3d",  "%8.3d",
                                   "%-8.3d|", "%+.3d", "%x",    "%X",    "%#x",   "%#X",   "%-8x|", "%o",
                                   "%#10x",   "%u",    "%.0d",  "%+.0d", "%5.0d", "%-+5d", "%+05d", "%# 08x"};
    for (const char* format : formats) {
        for (const int value : {0, 1, -1, 42, -42, 255, 123456, std::numeric_limits<int>::min()}) {
            // Sizes differ: an integer has 8 bytes here, so the twin gets "ll".
            std::string twin(format);
            twin.insert(twin.find_first_of("dxXou"), "ll");
            char expected[64];
            std::snprintf(expected, sizeof expected, twin.c_str(), static_cast<long long>(value));
            EXPECT_EQ(kxString::format(format, value), expected) << format << ' ' << value;
        }
    }
    EXPECT_EQ(kxString::format("%08.3d", 5), "00000005") << "zero pad stays with a precision";
    EXPECT_EQ(kxString::format("%#b %#B %#o %#O", 5, 5, 8, 0), "0b101 0B101 010 0");
}

TEST(kxFormatter, WritesFloatingValues)
{
    const double largest = 1.7976931348623157e308;
    kxMessageRecorder recorder(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
    EXPECT_EQ(kxString::format("%f %f %.3f %.0f %.0f", 0.1, 3.0, 3.14159, 2.5, -0.4), "0.1 3 3.142 3 -0");
    EXPECT_EQ(kxString::format("%+.1f|% .1f|%08.2f|%-8.2f|%#.0f", 1.0, 1.0, -1.5, 1.5, 1.0),
              "+1.0| 1.0|-0001.50|1.50    |1.");
    EXPECT_EQ(kxString::format("%.0f|%5.0f|%.0e|%.0g", 0.0, 0.0, 0.0, 0.0), "|     ||") << "0 without digits";
    EXPECT_EQ(kxString::format("%e %.2e %.0e %e", 12345.678, 9.999e-5, 15.0, 0.0),
              "1.234568e+04 1.00e-04 2e+01 0.000000e+00");
    EXPECT_EQ(kxString::format("%.3e %.3e %12.2e", 5e-324, -largest, 1e100),
              "4.941e-324 -1.798e+308    1.00e+100");
    EXPECT_EQ(kxString::format("%g %g %g %g %g", 0.0001, 0.00001, 100000.0, 1000000.0, 999999.5),
              "0.0001 1e-05 100000 1e+06 1e+06");
    EXPECT_EQ(kxString::format("%g %.3g %#g %.30g %010g", 0.0, 1234.5, 1.5, 1e22, -2.5),
              "0 1.23e+03 1.50000 1e+22 -0000002.5");
    EXPECT_EQ(kxString::format("%.1000f", 0.5).view(), "0.5" + std::string(999, '0'));
    EXPECT_THAT(recorder.entries(), IsEmpty());
    EXPECT_EQ(kxString::format("<%f|%e|%g>", 1e20, std::nan(""), -HUGE_VAL), "<||->");
    EXPECT_THAT(recorder.takeTexts(), testing::SizeIs(3));
}

TEST(kxFormatter, WritesTextByCharacters)
{
    const char16_t* const wide = u"h\u00E9\U0001F600";
    const Case cases[] = {
        {"narrow", "%s", "h\xC3\xA9\xE2\x82\xAC"},
        {"width counts characters", "%5s|%-5s|", "  h\xC3\xA9\xE2\x82\xAC|x    |"},
        {"precision counts characters", "%.2s", "h\xC3\xA9"},
        {"precision 0", "%.0s", ""},
        {"no zeros before text", "%05s", "  h\xC3\xA9\xE2\x82\xAC"},
        {"wide", "%3$S", "h\xC3\xA9\xF0\x9F\x98\x80"},
        {"wide with width", "%3$5S", "  h\xC3\xA9\xF0\x9F\x98\x80"},
        {"wide with precision", "%3$.2S", "h\xC3\xA9"},
        {"character by its code", "%4$c%4$3c|", "\xE2\x82\xAC  \xE2\x82\xAC|"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(kxString::format(c.format, kxString("h\xC3\xA9\xE2\x82\xAC"), "x", wide, 0x20AC),
                  c.expected);
    }
    EXPECT_EQ(kxString::format("a%cb", 0), kxString("a\0b", 3));
    EXPECT_EQ(kxString::format("%s%s%s", kxString(), std::string_view("a\0b", 3), ""), kxString("a\0b", 3));
    const std::u16string longWide = std::u16string(127, u'x') + u"\U0001F600" + std::u16string(300, u'y');
    EXPECT_EQ(kxString::format("%S", longWide.c_str()), kxString(longWide)) << "a pair is not split";
}

TEST(kxFormatter, ConvertsArgumentsToWhatIsAsked)
{
    EXPECT_EQ(kxString::format("%d %u %x", 2.9, -1.0, 255.5), "2 18446744073709551615 ff");
    EXPECT_EQ(kxString::format("%f %.1f", 7, -7), "7 -7.0");
    EXPECT_EQ(kxString::format("%d %d %d", 1e30, -1e30, std::nan("")),
              "9223372036854775807 -9223372036854775808 0");
    EXPECT_EQ(kxString::format("%d %f %d", "text", u"wide"), "0 0 0") << "text and nothing are 0";
    EXPECT_EQ(kxString::format("%*d|%*d|", 3.9, 1, -3, 2), "  1|2  |");
    EXPECT_EQ(kxString::format("%.*d|%.*d", -1, 5, -7, 0), "5|0");
}

TEST(kxFormatter, WarnsOfBadPositionsAndGoesOn)
{
    const std::vector<std::string> warning = {"Using kxString::format(\"%n$\") where n<1 or n>16"};
    EXPECT_EQ(formatted(warning, "%17$d,%d", 1, 2), "1,2");
    EXPECT_EQ(formatted(warning, "%0$d,%d", 1, 2), "1,2");
    EXPECT_EQ(formatted(warning, "%0$3d,%d", 1, 2), "  1,2") << "the zero is no flag then";
    EXPECT_EQ(formatted(warning, "%99999999999999999999$d,%d", 1, 2), "1,2");
    EXPECT_EQ(formatted({}, "%*$d", 17, 1), "1") << "a star position out of range is ignored";
    EXPECT_EQ(formatted({}, "%*$d", std::numeric_limits<std::int64_t>::min(), 1), "1");
}

TEST(kxFormatter, WarnsOfArgumentsThatDoNotFit)
{
    const std::vector<std::string> noText = {
        "Using kxString::format(\"%s\",arg) where arg is no valid pointer"};
    EXPECT_EQ(formatted(noText, "<%5s>%d", 1, 2), "<>2");
    EXPECT_EQ(formatted(noText, "<%s>%d", static_cast<const char*>(nullptr), 2), "<>2");
    EXPECT_EQ(formatted(noText, "<%s>%d", u"wide", 2), "<>2");
    const std::vector<std::string> noWide = {
        "Using kxString::format(\"%S\",arg) where arg is no valid pointer"};
    EXPECT_EQ(formatted(noWide, "<%S>%d", "narrow", 2), "<>2");
    EXPECT_EQ(formatted(noWide, "<%S>%d", static_cast<const char16_t*>(nullptr), 2), "<>2");
    EXPECT_EQ(formatted({"Utf decoding on faulty data input"}, "<%c%c>", -1, 'a'), "<a>");
    EXPECT_THROW(kxArgument(1).text(), kxFatalError);
    EXPECT_THROW(kxArgument("narrow").wideText(), kxFatalError);
}

TEST(kxFormatter, WarnsOfUnknownAndUnfinishedConversions)
{
    const Case cases[] = {
        {"unknown letter", "a%qb%d", "ab7"},
        {"takes no argument and is consumed whole", "%\xE2\x82\xAC%d", "7"},
        {"malformed byte", "%\xFF%d", "7"},
        {"size after size", "%hh%d", "7"},
        {"ends after the percent sign", "a%", "a"},
        {"ends in the flags", "a%-", "a"},
        {"ends in the digits", "a%5", "a"},
        {"ends in the precision", "a%5.", "a"},
        {"ends in the size", "a%ll", "a"},
        {"a percent sign that is a letter", "%5%d", "d"},
    };
    for (const Case& c : cases) {
        const std::string warning = "Unknown format option in string '" + std::string(c.format) + "'";
        EXPECT_EQ(formatted({warning}, c.format, 7), c.expected) << c.why;
    }
}

TEST(kxFormatter, EndsAtSixteenArgumentsAndTheLongestString)
{
    EXPECT_EQ(kxString::format("%16$d%15$d", 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16), "1615");
    EXPECT_EQ(kxString::format("%15$d%d%d", 1), "010") << "past the last argument is nothing";
    std::string seventeen;
    for (int i = 0; i < 17; ++i) seventeen += "%*d";
    EXPECT_EQ(kxString::format(seventeen, 1, 2), "2" + std::string(16, '0'))
        << "past the sixteenth is nothing either";
    const std::string longText(65534, 'x');
    EXPECT_EQ(kxString::format("%s", longText).length(), 65534);
    EXPECT_EQ(kxString::format("%s%s", longText, "\xC3\xA9").length(), 65534)
        << "the last character is whole";
    EXPECT_EQ(kxString::format("%s\xE2\x82\xACtail", longText).length(), 65534);
    EXPECT_EQ(kxString::format("%s%s", longText, "abc").length(), 65535);
    EXPECT_EQ(kxString::format("%99999d%99999d", 1, 2).length(), 65535);
    EXPECT_EQ(kxString::format("%.99999999999d", 1).length(), 65535);
    EXPECT_EQ(kxString::format("%.99999f", 1.0).length(), 65535);
    EXPECT_EQ(kxString::format(std::string(70000, '%')).length(), 35000);
}

TEST(kxFormatter, SurvivesRandomFormats)
{
    std::mt19937 random(17);
    const std::string alphabet = "%%%%%*$.0123456789-+ #lhLHcsSduxXoObBfegq\xC3\xA9";
    const kxArgument values[] = {kxArgument(),
                                 1,
                                 -1,
                                 1e300,
                                 std::nan(""),
                                 "text",
                                 "\xC3",
                                 u"w",
                                 1e-5,
                                 70000,
                                 static_cast<const char*>(nullptr),
                                 std::numeric_limits<std::int64_t>::min()};
    kxMessageRecorder recorder(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
    for (int round = 0; round < 20000; ++round) {
        std::string format;
        for (auto count = random() % 24; count != 0; --count) format += alphabet[random() % alphabet.size()];
        std::array<kxArgument, 16> arguments;
        for (auto& argument : arguments) argument = values[random() % std::size(values)];
        const kxString text = kxString::formatArguments(format, arguments);
        ASSERT_EQ(text.hash(), kxString::hashOf(text.view())) << format;
        ASSERT_TRUE(format.find('%') != std::string::npos || text == format) << format;
        recorder.takeTexts();
    }
}
