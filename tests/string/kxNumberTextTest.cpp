#include "kxbase/string/kxNumberText.h"

#include "kxbase/string/kxNumberScanner.h"
#include "kxbase/string/kxString.h"
#include "support/kxTest.h"

#include <charconv>
#include <cmath>
#include <random>

namespace {

std::string integer(std::int64_t value, const kxIntegerStyle& style)
{
    std::string text(kxIntegerTextLength(value, style) + 1, '?');
    const std::size_t length = kxIntegerToText(text.data(), value, style);
    return text[length] == 0 ? text.substr(0, length) : "no end";
}

std::string floating(double value, std::int16_t decimals, std::uint16_t width = KX_DTOA_WIDTH)
{
    std::string text(kxDtoARoom(decimals, width), '?');
    std::uint32_t length = 0;
    kxDtoA(text.data(), value, decimals, &length, width);
    return text[length] == 0 ? text.substr(0, length) : "no end";
}

}  // namespace

TEST(kxNumberScanner, MatchesTheLongestCompleteNumber)
{
    // The bar shows where the number ends; the standard library tells its value.
    const kxString table(
        "12| -12.5e+1|x +7| 3|. 3|.e5 3|e 3|e+ 1.5|.2 0|x10 |inf |+-1 | |.5 |,1 9007199254740993| -0| "
        "2.2250738585072011e-308| 1e999| -1e99999999999999999999| 1e-999| "
        "0.0000001e-99999999999999999999| 0e99999999999999999999|");
    std::vector<kxString> rows = table.split(" ");
    // Only all parts together say how large a number is.
    rows.emplace_back("0." + std::string(400, '0') + "1e401|");
    rows.emplace_back(std::string(400, '9') + '|');
    for (const kxString& row : rows) {
        const kxScannedNumber number = kxNumberScanner().scan(row.replaced("|", "").view());
        const double expected = std::atof(row.substring(0, row.find('|')).text());
        EXPECT_TRUE(number.length == row.find('|') && number.value == expected) << row;
        EXPECT_EQ(std::signbit(number.value), std::signbit(expected)) << row;
    }
    EXPECT_EQ(kxNumberScanner(',').scan("-1,25e1.5").value, -12.5);
    EXPECT_EQ(kxNumberScanner(',').scan("1.5").length + kxNumberScanner().scan(" 1").length, 1U);
    // No double holds the large integers.
    for (const std::int64_t value : {INT64_MIN, INT64_MIN + 1, INT64_C(-42), INT64_MAX - 2, INT64_MAX})
        EXPECT_EQ(kxNumberScanner().scanInteger(" \t\r\n" + std::to_string(value)), value);
    for (const char* text : {"+9223372036854775807", "9223372036854775808", "1e300"})
        EXPECT_EQ(kxNumberScanner().scanInteger(text), INT64_MAX);
    EXPECT_EQ(kxNumberScanner().scanInteger("-12.9") + kxNumberScanner().scanInteger(""), -12);
}

TEST(kxIntegerToText, WritesEveryBase)
{
    // The digits of the larger bases come from repeated divmod in Python.
    EXPECT_EQ(integer(-42, {10, 4, KX_DIGITS_LOWER}), "-0042") << "the sign is no digit";
    EXPECT_EQ(integer(INT64_MIN, {62, 0, KX_DIGITS_UPPER}), "-AzL8n0Y58m8");
    EXPECT_EQ(integer(61, {62, 0, KX_DIGITS_LOWER}) + integer(255, {16, 0, KX_DIGITS_UPPER}), "ZFF");
    EXPECT_EQ(integer(-7, {2, 1000, KX_DIGITS_LOWER}), "-" + std::string(997, '0') + "111");
    for (const std::uint32_t base : {0U, 1U, 63U}) EXPECT_EQ(integer(-5, {base, 3, KX_DIGITS_LOWER}), "");
    const auto compareWithStandard = [](std::uint64_t bits, std::uint32_t base) {
        const auto value = static_cast<std::int64_t>(bits);
        char text[70] = {};
        std::to_chars(text, text + sizeof text, value, static_cast<int>(base));
        ASSERT_EQ(integer(value, {.base = base}), text);
    };
    for (std::uint64_t power = 1, i = 0; i < 20; ++i, power *= 10) {
        compareWithStandard(power - 1, 10);
        compareWithStandard(power, 10);
    }
    std::mt19937_64 random(3);
    for (std::uint32_t round = 0; round < 5000; ++round)
        compareWithStandard(random() >> (random() % 64), 2 + round % 35);
}

TEST(kxDtoA, RoundsFixedDecimals)
{
    EXPECT_EQ(floating(2.5, 0) + floating(-2.5, 0), "3-3") << "away from zero";
    EXPECT_EQ(floating(-0.4, 0) + floating(-0.0, 0), "-00") << "minus zero itself is not negative";
    EXPECT_EQ(floating(9.9996, 3) + floating(0.0625, 6) + floating(0.0005, 3), "10.0000.0625000.001");
    EXPECT_EQ(floating(0x1p64, 2) + floating(0x1p64 - 2048, 0),
              "18446744073709551616.0018446744073709549568");
    EXPECT_EQ(floating(0.5, 400), "0.5" + std::string(399, '0')) << "zeros follow the last power of ten";
    // Up to nine decimals the digits may come from one multiplication instead of this loop.
    std::mt19937_64 random(9);
    for (int round = 0; round < 200000; ++round) {
        const auto decimals = static_cast<std::int16_t>(1 + random() % 9);
        // Half of the values lie on a decimal place or its half, where the two ways could differ.
        double value = std::ldexp(static_cast<double>(random()), -5 - static_cast<int>(random() % 75));
        if (round % 2) value = static_cast<double>(random() % 2000000) / std::pow(10, random() % 10) / 2;
        double fraction = value + 0.5 * kxPowerOfTen(-decimals);
        std::string expected = std::to_string(static_cast<std::uint64_t>(fraction)) + ".";
        for (int i = 0; i < decimals; ++i) {
            fraction = (fraction - std::floor(fraction)) * 10;
            expected += static_cast<char>('0' + static_cast<int>(fraction));
        }
        ASSERT_EQ(floating(value, decimals), expected) << std::hexfloat << value;
    }
}

TEST(kxDtoA, StopsBeforeTheNoiseInAutomaticMode)
{
    EXPECT_EQ(floating(1.0 / 3, -1, 10), "0.333333333") << "the point does not count";
    EXPECT_EQ(floating(-1.0 / 3, -1, 10), "-0.33333333") << "the sign does";
    EXPECT_EQ(floating(123.75, -1, 3) + floating(0x1p64, -1), "12318446744073709551616");
    // Decimals of up to 15 significant digits come out as they were written.
    std::mt19937_64 random(21);
    for (int round = 0; round < 40000; ++round) {
        const double value = static_cast<double>(random() % 1000000000000000U) / std::pow(10, random() % 10);
        char written[40];
        std::snprintf(written, sizeof written, "%.15g", value);
        ASSERT_EQ(floating(value, -1), written);
    }
}
