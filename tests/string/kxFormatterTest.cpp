#include "kxbase/string/kxFormatter.h"

#include "kxbase/string/kxString.h"
#include "support/kxTest.h"

#include <cmath>

namespace {

using Texts = std::vector<std::string>;

// Formats and expects a text and exactly the given messages.
template <typename... Arguments>
void expectMessages(const Texts& messages, std::string_view expected, std::string_view format,
                    const Arguments&... arguments)
{
    const kxMessageRecorder recorder(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
    EXPECT_EQ(kxString::format(format, arguments...).view(), expected) << format;
    EXPECT_EQ(recorder.texts(), messages) << format;
}

template <typename... Arguments>
void expect(std::string_view expected, const Arguments&... formatAndArguments)
{
    expectMessages({}, expected, formatAndArguments...);
}

}  // namespace

TEST(kxFormatter, GoesThroughEveryRowOfItsTable)
{
    expect("plain \xE2\x82\xAC%b%", "plain \xE2\x82\xAC%%b%%");
    // A position, given by an argument or by digits, does not move the next argument on.
    expect("1 2 5 |3", "%*$d %d %5$-2d|%d", 1, 2, 3, 4, 5);
    expect("2|  3|4  |+5", "%*d|%3d|%-3d|%+d", 1, 2, 3, 4, 5);
    expect("001| 2|0x3|+4|+5", "%03d|% d|%#x|% +d|%+ d", 1, 2, 3, 4, 5);
    expect("1  |2  | +4", "%0-3d|%-03d|%+*d", 1, 2, 3, 4);  // left-justify wins on either side of the zero
    expect("2|000000000003|4", "%.*d|%.12d|%.d", 1, 2, 3, 4);
    expect("03|4|12345", "%-*.*d|%lLd|%hd%Hd%ld%Ld%lld", 1, 2, 3, 4, 1, 2, 3, 4, 5);
    // A number with all of 64 bits that is -1 in 32 and 16; arguments are converted to what is asked.
    expect("-4294967297 -4294967297 -1 -1 18446744069414584319 4294967295 65535 177777",
           "%1$d %1$lld %1$ld %1$hd %1$u %1$lu %1$hu %1$ho", -4294967297);
    expect("18446744073709551615 ff -7.0 0 0 0", "%u %x %.1f %d %f %d", -1.0, 255.5, -7, std::nan(""), "a",
           u"b");
    expect("9223372036854775807 -9223372036854775808", "%d %d", 1e30, -1e30);
    expect("  1|2  |5|0", "%*d|%*d|%.*d|%.*d", 3.9, 1, -3, 2, -1, 5, -7, 0);
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
            expect(expected, format, value);
        }
    expect("00000005 7  |", "%08.3d %0*d|", 5, -3, 7);  // zeros stay with a precision
    expect("0b101 0B101 010 0", "%#b %#B %#o %#O", 5, 5, 8, 0);
}

TEST(kxFormatter, WritesFloatingValues)
{
    expect("0.1 3 3.142 3 -0", "%f %f %.3f %.0f %.0f", 0.1, 3.0, 3.14159, 2.5, -0.4);
    expect("+1.0| 1.0|-0001.50|1.50    |1.", "%+.1f|% .1f|%08.2f|%-8.2f|%#.0f", 1.0, 1.0, -1.5, 1.5, 1.0);
    expect("|     ||", "%.0f|%5.0f|%.0e|%.0g", 0.0, 0.0, 0.0, 0.0);  // 0 without digits
    expect("1.234568e+04 1.00e-04 2e+01 4.941e-324", "%e %.2e %.0e %.3e", 12345.678, 9.999e-5, 15.0, 5e-324);
    expect("-1.000e+308    1.00e+100 0 1e+22", "%.3e %12.2e %g %.30g", -1e308, 1e100, 0.0, 1e22);
    expect("0.0001 1e-05 100000 1e+06 1e+06", "%g %g %g %g %g", 0.0001, 0.00001, 1e5, 1e6, 999999.5);
    expect("1.23e+03 1.50000 -0000002.5", "%.3g %#g %010g", 1234.5, 1.5, -2.5);
    expect("1234567890123456768 18446744073709551616", "%.20g %.20g", 1234567890123456789.0,
           18446744073709551616.0);
    expect("1.13e+00 4.8288677135570738e+167 0.10000000000000001", "%.2e %.16e %.17g", 1.125,
           4.828867713557074e+167, 0.1);
    expect("0.5" + std::string(999, '0'), "%.1000f", 0.5);
    const Texts warnings(3, "Too large number for kxDtoA");
    expectMessages(warnings, "<||->", "<%f|%e|%g>", 1e20, std::nan(""), -HUGE_VAL);
}

TEST(kxFormatter, WritesTextByCharacters)
{
    expect("\xC3\xA9x|  \xC3\xA9x|\xC3\xA9x  |  \xC3\xA9x|\xC3\xA9|",
           "%1$s|%1$4s|%1$-4s|%1$04s|%1$.1s|%1$.0s", "\xC3\xA9x");
    expect("\xC3\xA9\xF0\x9F\x98\x80|  \xC3\xA9\xF0\x9F\x98\x80|\xC3\xA9", "%1$S|%1$4S|%1$.1S",
           u"\u00E9\U0001F600");
    expect({"\xE2\x82\xAC  x\0a\0b", 10}, "%c%3c%c%s%s", 0x20AC, 'x', 0, kxString("a\0b", 3), kxString());
    const std::u16string longWide = std::u16string(127, u'x') + u"\U0001F600" + std::u16string(300, u'y');
    expect(kxString(longWide).view(), "%S", longWide.c_str());  // a pair is not split
}

TEST(kxFormatter, WarnsOnceAndGoesOn)
{
    const Texts position = {"Using kxString::format(\"%n$\") where n<1 or n>16"};
    for (const char* format : {"%17$d,%d", "%0$d,%d", "%0$1d,%d", "%99999999999999999999$d,%d"})
        expectMessages(position, "1,2", format, 1, 2);
    expect("1 2", "%*$d %*$d", 17, 1, INT64_MIN, 2);  // such a star is ignored silently
    const char* const null = nullptr;
    const Texts noText = {"Using kxString::format(\"%s\",arg) where arg is no valid pointer"};
    const Texts noWide = {"Using kxString::format(\"%S\",arg) where arg is no valid pointer"};
    for (const kxArgument& other : {kxArgument(1), kxArgument(null), kxArgument(u"wide")})
        expectMessages(noText, "<>2", "<%5s>%d", other, 2);
    expectMessages(noWide, "<>2", "<%S>%d", "narrow", 2);
    expectMessages({"Utf decoding on faulty data input"}, "<a>", "<%c%c>", -1, 'a');
    // Unknown letters take no argument; the end of the text inside a conversion gives nothing.
    const auto expectUnknown = [](const std::string& format, const char* expected) {
        expectMessages({"Unknown format option in string '" + format + "'"}, expected, format, 7);
    };
    for (const char* format : {"%q%d", "%3+%d", "%\xE2\x82\xAC%d", "%\xFF%d", "%hh%d", "%\xC1\xA4%d"})
        expectUnknown(format, "7");
    expect("\xC0\xA5"
           "d7",
           "\xC0\xA5"
           "d%d",
           7);  // an overlong percent sign is text
    for (const char* format : {"%", "%-", "%5", "%5.", "%ll"}) expectUnknown(format, "");
}

TEST(kxFormatter, EndsAtSixteenArgumentsAndTheLongestString)
{
    expect("712345678912345670", "%16$d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d", 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 2,
           3, 4, 5, 6, 7);
    const std::string longText(65534, 'x');
    expect(longText, "%s\xC3\xA9", longText);  // the last character is whole
    for (const char* format : {"%99999d%99999d", "%.99999999999d", "%.99999f", "%3$sabc", "%4$s%*d"})
        EXPECT_EQ(kxString::format(format, INT64_MIN, 2, longText).length(), 65535) << format;
}
