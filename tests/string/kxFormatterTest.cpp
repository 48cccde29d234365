#include "kxbase/string/kxFormatter.h"

#include "kxbase/string/kxString.h"
#include "support/kxMessageRecorder.h"
#include "support/kxTestRandom.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

// The text of a format that must send exactly the given messages.
template <typename... Arguments>
kxString formatted(const Texts& messages, std::string_view format, const Arguments&... arguments)
{
    const kxMessageRecorder recorder(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
    kxString text = kxString::format(format, arguments...);
    EXPECT_EQ(recorder.texts(), messages) << format;
    return text;
}

}  // namespace

TEST(kxFormatter, GoesThroughEveryRowOfItsTable)
{
    const auto expect = [](const char* format, const char* expected) {
        EXPECT_EQ(formatted({}, format, 1, 2, 3, 4, 5), expected) << format;
    };
    expect("plain \xE2\x82\xAC%%b%%", "plain \xE2\x82\xAC%b%");
    // A position, given by an argument or by digits, does not move the next argument on.
    expect("%*$d %d %5$-2d|%d", "1 2 5 |3");
    expect("%*d|%3d|%-3d|%+d", "2|  3|4  |+5");
    expect("%03d|% d|%#x|% +d|%+ d", "001| 2|0x3|+4|+5");
    expect("%0-3d|%-03d|%+*d", "1  |2  | +4");  // left-justify wins on either side of the zero
    expect("%.*d|%.12d|%.d", "2|000000000003|4");
    expect("%-*.*d|%lLd", "03|4");
    expect("%hd%Hd%ld%Ld%lld", "12345");
    const std::int64_t large = -4294967297;  // all of 64 bits, but -1 in 32 and 16
    EXPECT_EQ(kxString::format("%1$d %1$lld %1$ld %1$hd %1$u %1$lu %1$hu %1$ho", large),
              "-4294967297 -4294967297 -1 -1 18446744069414584319 4294967295 65535 177777");
}

TEST(kxFormatter, LaysIntegersOutAsPrintfDoes)
{
    for (const std::string format :
         {"%d",      "%5d",   "%-5d|", "%05d",  "%+d",   "% d",   "%.3d",  "%8.3d",
          "%-8.3d|", "%+.3d", "%x",    "%X",    "%#x",   "%#X",   "%-8x|", "%o",
          "%#10x",   "%u",    "%.0d",  "%+.0d", "%5.0d", "%-+5d", "%+05d", "%# 08x"})
        for (const long long value : {0LL, 1LL, -1LL, 42LL, -42LL, 255LL, 123456LL, -2147483648LL}) {
            std::string twin(format);  // an integer has 8 bytes here, so that the twin needs "ll"
            twin.insert(twin.find_first_of("dxXou"), "ll");
            char expected[64];
            std::snprintf(expected, sizeof expected, twin.c_str(), value);
            EXPECT_EQ(kxString::format(format, value), expected) << format << ' ' << value;
        }
    EXPECT_EQ(kxString::format("%08.3d %0*d|", 5, -3, 7), "00000005 7  |") << "zeros stay with a precision";
    EXPECT_EQ(kxString::format("%#b %#B %#o %#O", 5, 5, 8, 0), "0b101 0B101 010 0");
}

TEST(kxFormatter, WritesFloatingValues)
{
    EXPECT_EQ(kxString::format("%f %f %.3f %.0f %.0f %+.1f|% .1f|%08.2f|%-8.2f|%#.0f", 0.1, 3.0, 3.14159, 2.5,
                               -0.4, 1.0, 1.0, -1.5, 1.5, 1.0),
              "0.1 3 3.142 3 -0 +1.0| 1.0|-0001.50|1.50    |1.");
    EXPECT_EQ(kxString::format("%.0f|%5.0f|%.0e|%.0g", 0.0, 0.0, 0.0, 0.0), "|     ||") << "0 without digits";
    EXPECT_EQ(
        kxString::format("%e %.2e %.0e %.3e %.3e %12.2e", 12345.678, 9.999e-5, 15.0, 5e-324, -1e308, 1e100),
        "1.234568e+04 1.00e-04 2e+01 4.941e-324 -1.000e+308    1.00e+100");
    EXPECT_EQ(kxString::format("%g %g %g %g %g %g %.3g %#g %.30g %010g", 0.0001, 0.00001, 100000.0, 1000000.0,
                               999999.5, 0.0, 1234.5, 1.5, 1e22, -2.5),
              "0.0001 1e-05 100000 1e+06 1e+06 0 1.23e+03 1.50000 1e+22 -0000002.5");
    EXPECT_EQ(kxString::format("%.1000f", 0.5).view(), "0.5" + std::string(999, '0'));
    const Texts warnings(3, "Too large number for kxDtoA");
    EXPECT_EQ(formatted(warnings, "<%f|%e|%g>", 1e20, std::nan(""), -HUGE_VAL), "<||->");
}

TEST(kxFormatter, WritesTextByCharacters)
{
    EXPECT_EQ(kxString::format("%1$s|%1$5s|%1$-5s|%1$05s|%1$.2s|%1$.0s", "\xC3\xA9\xE2\x82\xACx"),
              "\xC3\xA9\xE2\x82\xACx|  \xC3\xA9\xE2\x82\xACx|\xC3\xA9\xE2\x82\xACx  |  "
              "\xC3\xA9\xE2\x82\xACx|\xC3\xA9\xE2\x82\xAC|");
    EXPECT_EQ(kxString::format("%1$S|%1$4S|%1$.1S", u"\u00E9\U0001F600"),
              "\xC3\xA9\xF0\x9F\x98\x80|  \xC3\xA9\xF0\x9F\x98\x80|\xC3\xA9");
    EXPECT_EQ(kxString::format("%c%3c%c", 0x20AC, 'x', 0), kxString("\xE2\x82\xAC  x\0", 7));
    EXPECT_EQ(kxString::format("%s%s%s", kxString(), std::string_view("a\0b", 3), ""), kxString("a\0b", 3));
    const std::u16string longWide = std::u16string(127, u'x') + u"\U0001F600" + std::u16string(300, u'y');
    EXPECT_EQ(kxString::format("%S", longWide.c_str()), kxString(longWide)) << "a pair is not split";
}

TEST(kxFormatter, ConvertsArgumentsToWhatIsAsked)
{
    EXPECT_EQ(
        kxString::format("%u %x %.1f %d %d %d %f %d", -1.0, 255.5, -7, 1e30, -1e30, std::nan(""), "a", u"b"),
        "18446744073709551615 ff -7.0 9223372036854775807 -9223372036854775808 0 0 0");
    EXPECT_EQ(kxString::format("%*d|%*d|%.*d|%.*d", 3.9, 1, -3, 2, -1, 5, -7, 0), "  1|2  |5|0");
}

TEST(kxFormatter, WarnsOnceAndGoesOn)
{
    const Texts position = {"Using kxString::format(\"%n$\") where n<1 or n>16"};
    for (const char* format : {"%17$d,%d", "%0$d,%d", "%0$1d,%d", "%99999999999999999999$d,%d"})
        EXPECT_EQ(formatted(position, format, 1, 2), "1,2");
    EXPECT_EQ(formatted({}, "%*$d %*$d", 17, 1, INT64_MIN, 2), "1 2") << "such a star is ignored silently";
    const char* const null = nullptr;
    for (const std::string letter : {"s", "S"}) {
        const Texts warning = {"Using kxString::format(\"%" + letter +
                               "\",arg) where arg is no valid pointer"};
        for (const kxArgument& other :
             {kxArgument(1), kxArgument(null), letter == "s" ? kxArgument(u"b") : "a"})
            EXPECT_EQ(formatted(warning, "<%5" + letter + ">%d", other, 2), "<>2");
    }
    EXPECT_EQ(formatted({"Utf decoding on faulty data input"}, "<%c%c>", -1, 'a'), "<a>");
    // Unknown letters take no argument; the end of the text inside a conversion gives nothing.
    const auto expectUnknown = [](const std::string& format, const char* expected) {
        EXPECT_EQ(formatted({"Unknown format option in string '" + format + "'"}, format, 7), expected);
    };
    for (const char* format : {"%q%d", "%3+%d", "%\xE2\x82\xAC%d", "%\xFF%d", "%hh%d"})
        expectUnknown(format, "7");
    for (const char* format : {"%", "%-", "%5", "%5.", "%ll"}) expectUnknown(format, "");
}

TEST(kxFormatter, EndsAtSixteenArgumentsAndTheLongestString)
{
    EXPECT_EQ(kxString::format("%16$d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d", 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 2, 3,
                               4, 5, 6, 7),
              "712345678912345670");
    const std::string longText(65534, 'x');
    EXPECT_EQ(kxString::format("%s\xC3\xA9", longText).length(), 65534) << "the last character is whole";
    for (const char* format : {"%99999d%99999d", "%.99999999999d", "%.99999f", "%3$sabc"})
        EXPECT_EQ(kxString::format(format, 1, 2, longText).length(), 65535) << format;
    EXPECT_EQ(kxString::format("%*d", INT64_MIN, 1).length(), 65535);
}

TEST(kxFormatter, SurvivesRandomFormats)
{
    kxTestRandom random(17);
    const std::string alphabet = "%%%%%*$.0123456789-+ #lhLHcsSduxXoObBfegq\xC3\xA9";
    const char* const null = nullptr;
    const kxArgument values[] = {{},     1,    -1,   1e300, std::nan(""), "text",
                                 "\xC3", u"w", 1e-5, 70000, null,         INT64_MIN};
    const kxMessageRecorder recorder(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
    for (int round = 0; round < 20000; ++round) {
        std::string format;
        for (auto count = random() % 24; count != 0; --count) format += alphabet[random() % alphabet.size()];
        std::array<kxArgument, 16> arguments;
        for (auto& argument : arguments) argument = values[random() % std::size(values)];
        const kxString text = kxString::formatArguments(format, arguments);
        ASSERT_EQ(text.hash(), kxString::hashOf(text.view())) << format;
        ASSERT_TRUE(format.find('%') != std::string::npos || text == format) << format;
    }
}
