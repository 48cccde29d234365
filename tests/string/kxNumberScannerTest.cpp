#include "kxbase/string/kxNumberScanner.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

TEST(kxNumberScanner, MatchesTheLongestCompleteNumber)
{
    const struct {
        const char* text;
        std::size_t length;
        double value;
    } cases[] = {{"12", 2, 12},
                 {"-12.5e+1x", 8, -125},
                 {"+7", 2, 7},
                 {"3.", 1, 3},
                 {"3.e5", 1, 3},
                 {"3e", 1, 3},
                 {"3e+", 1, 3},
                 {"1.5.2", 3, 1.5},
                 {"0x10", 1, 0},
                 {"inf", 0, 0},
                 {"+-1", 0, 0},
                 {"", 0, 0},
                 {".5", 0, 0},
                 {" 1", 0, 0},
                 {"9007199254740993", 16, 9007199254740992.0},
                 {"2.2250738585072011e-308", 23, 2.2250738585072011e-308},
                 {"1e999", 5, HUGE_VAL},
                 {"-1e99999999999999999999", 23, -HUGE_VAL},
                 {"1e-999", 6, 0},
                 {"0.0000001e-99999999999999999999", 31, 0},
                 {"0e99999999999999999999", 22, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const kxScannedNumber number = kxNumberScanner().scan(c.text);
        EXPECT_EQ(number.length, c.length);
        EXPECT_EQ(number.value, c.value);
    }
    EXPECT_TRUE(std::signbit(kxNumberScanner().scan("-0").value));
    const std::string zeros = "0." + std::string(400, '0') + "1e401";
    EXPECT_EQ(kxNumberScanner().scan(zeros).value, 1) << "only both parts together say how large a number is";
}

TEST(kxNumberScanner, TakesAnotherSeparator)
{
    const kxScannedNumber number = kxNumberScanner(',').scan("-1,25e1.5");
    EXPECT_EQ(number.length, 7U);
    EXPECT_EQ(number.value, -12.5);
    EXPECT_EQ(kxNumberScanner(',').scan("1.5").length, 1U);
}

TEST(kxNumberScanner, ReadsIntegersExactly)
{
    constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
    const kxNumberScanner scanner;
    EXPECT_EQ(scanner.scanInteger(" \t\r\n42"), 42);
    EXPECT_EQ(scanner.scanInteger("+42"), 42);
    EXPECT_EQ(scanner.scanInteger("-9223372036854775808"), kLeast);
    EXPECT_EQ(scanner.scanInteger("9223372036854775807"), kMost) << "no double holds it";
    EXPECT_EQ(scanner.scanInteger("9223372036854775808"), kMost);
    EXPECT_EQ(scanner.scanInteger("-99999999999999999999"), kLeast);
    EXPECT_EQ(scanner.scanInteger("-12.9"), -12) << "towards zero";
    EXPECT_EQ(scanner.scanInteger("1e3"), 1000);
    EXPECT_EQ(scanner.scanInteger("1e300"), kMost);
    EXPECT_EQ(scanner.scanInteger(""), 0);
}
