#include "kxbase/string/kxNumberScanner.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

TEST(kxNumberScanner, MatchesTheLongestCompleteNumber)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const struct {
        const char* text;
        std::size_t length;
        double value;
    } cases[] = {{"12", 2, 12},
                 {"-12.5e+1x", 8, -125},
                 {"+7", 2, 7},
                 {"3.", 1, 3},
                 {"3.e5", 1, 3},
                 {".5", 0, 0},
                 {"3e", 1, 3},
                 {"3e+", 1, 3},
                 {"3E-1", 4, 0.3},
                 {"1.5.2", 3, 1.5},
                 {"0x10", 1, 0},
                 {"inf", 0, 0},
                 {"nan", 0, 0},
                 {"+-1", 0, 0},
                 {"-", 0, 0},
                 {"", 0, 0},
                 {" 1", 0, 0},
                 {"1,5", 1, 1},
                 {"0.1", 3, 0.1},
                 {"9007199254740993", 16, 9007199254740992.0},
                 {"2.2250738585072011e-308", 23, 2.2250738585072011e-308},
                 {"1e999", 5, infinity},
                 {"-1e99999999999999999999", 23, -infinity},
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
    const struct {
        const char* text;
        std::int64_t value;
    } cases[] = {{" \t\r\n42", 42},
                 {"+42", 42},
                 {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
                 {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
                 {"9223372036854775808", std::numeric_limits<std::int64_t>::max()},
                 {"-99999999999999999999", std::numeric_limits<std::int64_t>::min()},
                 {"12.9", 12},
                 {"-12.9", -12},
                 {"1e3", 1000},
                 {"1e300", std::numeric_limits<std::int64_t>::max()},
                 {"x", 0},
                 {"", 0}};
    for (const auto& c : cases) EXPECT_EQ(kxNumberScanner().scanInteger(c.text), c.value) << c.text;
}
