#include "kxbase/string/kxNumberText.h"

#include "support/kxMessageRecorder.h"

#include <charconv>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

namespace {

constexpr auto kMinimum = std::numeric_limits<std::int64_t>::min();

std::string integer(std::int64_t value, const kxIntegerStyle& style)
{
    std::string text(kxIntegerTextLength(value, style) + 1, '?');
    std::u16string wide(text.size(), u'?');
    const std::size_t length = kxIntegerToText(text.data(), value, style);
    EXPECT_EQ(kxIntegerToText(wide.data(), value, style), length);
    EXPECT_EQ(std::u16string(text.begin(), text.end()), wide) << "both widths behave alike";
    EXPECT_EQ(text.size(), length + 1);
    EXPECT_EQ(text.back(), 0);
    text.pop_back();
    return text;
}

std::string floating(double value, std::int16_t decimals, std::uint16_t width = KX_DTOA_WIDTH)
{
    std::string text(kxDtoARoom(decimals, width), '?');
    std::u16string wide(text.size(), u'?');
    std::uint32_t length = 0;
    kxDtoA(wide.data(), value, decimals, &length, width);
    kxDtoA(text.data(), value, decimals, nullptr, width);
    text.resize(length + 1);
    EXPECT_EQ(std::u16string(text.begin(), text.end()), wide.substr(0, length + 1));
    EXPECT_EQ(text.back(), 0);
    text.pop_back();
    return text;
}

}  // namespace

TEST(kxIntegerToText, WritesEveryBase)
{
    // The digits of the larger bases come from repeated divmod in Python.
    const struct {
        const char* why;
        std::int64_t value;
        kxIntegerStyle style;
        const char* expected;
    } cases[] = {
        {"zero has a digit", 0, {}, "0"},
        {"minimum counts digits only", -42, {10, 4, KX_DIGITS_LOWER}, "-0042"},
        {"smallest integer", kMinimum, {}, "-9223372036854775808"},
        {"smallest integer in base 62", kMinimum, {62, 0, KX_DIGITS_UPPER}, "-AzL8n0Y58m8"},
        {"upper case first", 255, {16, 0, KX_DIGITS_UPPER}, "FF"},
        {"lower case first", 255, {16, 4, KX_DIGITS_LOWER}, "00ff"},
        {"base 36", 123456789, {36, 0, KX_DIGITS_UPPER}, "21I3V9"},
        {"last digit of base 62, upper first", 61, {62, 0, KX_DIGITS_UPPER}, "z"},
        {"last digit of base 62, lower first", 61, {62, 0, KX_DIGITS_LOWER}, "Z"},
        {"base too small", 5, {1, 3, KX_DIGITS_LOWER}, ""},
        {"base too large", -5, {63, 0, KX_DIGITS_LOWER}, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(integer(c.value, c.style), c.expected);
    }
    EXPECT_EQ(integer(kMinimum, {2, 0, KX_DIGITS_LOWER}), "-1" + std::string(63, '0'));
    EXPECT_EQ(integer(-7, {2, 1000, KX_DIGITS_LOWER}), "-" + std::string(997, '0') + "111");
}

TEST(kxIntegerToText, AgreesWithTheStandardLibraryAroundEveryPower)
{
    std::mt19937_64 random(3);
    const auto check = [](std::int64_t value, int base) {
        char text[70];
        const auto end = std::to_chars(text, text + sizeof text, value, base).ptr;
        ASSERT_EQ(integer(value, {.base = static_cast<std::uint32_t>(base)}), std::string(text, end));
    };
    std::uint64_t power = 1;
    for (int i = 0; i < 20; ++i, power *= 10)
        for (std::uint64_t value : {power - 1, power, power + 1}) check(static_cast<std::int64_t>(value), 10);
    for (int round = 0; round < 5000; ++round)
        check(static_cast<std::int64_t>(random() >> (random() % 64)), static_cast<int>(2 + random() % 35));
}

TEST(kxDtoA, RoundsFixedDecimals)
{
    EXPECT_EQ(floating(2.5, 0), "3");
    EXPECT_EQ(floating(-2.5, 0), "-3") << "away from zero";
    EXPECT_EQ(floating(-0.4, 0), "-0") << "the sign stays";
    EXPECT_EQ(floating(-0.0, 0), "0") << "minus zero is not negative";
    EXPECT_EQ(floating(9.9996, 3), "10.000") << "carries into the integer";
    EXPECT_EQ(floating(0.0625, 6), "0.062500") << "zeros before and behind";
    EXPECT_EQ(floating(0.0005, 3), "0.001") << "exactly on a step of the digits";
    EXPECT_EQ(floating(18446744073709551616.0, 2), "18446744073709551616.00") << "the largest";
    EXPECT_EQ(floating(18446744073709549568.0, 0), "18446744073709549568") << "the one below";
    EXPECT_EQ(floating(0.5, 400), "0.5" + std::string(399, '0')) << "zeros follow the last power of ten";
}

// Up to nine decimals the digits may come from one multiplication instead of the loop.
TEST(kxDtoA, GivesTheDigitsOfTheLoop)
{
    constexpr double kPlaces[] = {1, 1e-1, 1e-2, 1e-3, 1e-4, 1e-5, 1e-6, 1e-7, 1e-8, 1e-9};
    std::mt19937_64 random(9);
    for (int round = 0; round < 200000; ++round) {
        const auto decimals = static_cast<std::int16_t>(1 + random() % 9);
        // Half of the values lie on a decimal place or its half, where the two ways could differ.
        double value = std::ldexp(static_cast<double>(random()), -static_cast<int>(random() % 80));
        if (round % 2) value = static_cast<double>(random() % 2000000) / std::pow(10, random() % 10) / 2;
        if (!(value < 1e18)) continue;
        const double sum = value + 0.5 * kPlaces[decimals];
        std::string expected = std::to_string(static_cast<std::uint64_t>(sum)) + ".";
        double fraction = sum - std::floor(sum);
        for (int i = 0; i < decimals; ++i) {
            fraction *= 10;
            const int digit = static_cast<int>(fraction);
            fraction -= digit;
            expected += static_cast<char>('0' + digit);
        }
        ASSERT_EQ(floating(value, decimals), expected) << std::hexfloat << value;
    }
}

TEST(kxDtoA, StopsBeforeTheNoiseInAutomaticMode)
{
    EXPECT_EQ(floating(0.1, -1, 10), "0.1");
    EXPECT_EQ(floating(1.0 / 3, -1, 10), "0.333333333") << "the point does not count";
    EXPECT_EQ(floating(-1.0 / 3, -1, 10), "-0.33333333") << "the sign does";
    EXPECT_EQ(floating(123.75, -1, 3), "123") << "no room for decimals";
    EXPECT_EQ(floating(123.75, -1, 0), "123");
    EXPECT_EQ(floating(1e-7, -1), "0.0000001");
    EXPECT_EQ(floating(18446744073709551616.0, -1), "18446744073709551616");
}

// Decimals of up to 15 significant digits come out as they were written.
TEST(kxDtoA, GivesWrittenDecimalsBack)
{
    std::mt19937_64 random(21);
    for (int round = 0; round < 40000; ++round) {
        const std::size_t places = random() % 10;
        const auto digits = static_cast<std::int64_t>(random() % 1000000000000000U);
        std::string written = std::to_string(digits);
        if (written.size() <= places) written.insert(0, places + 1 - written.size(), '0');
        if (places != 0) written.insert(written.size() - places, ".");
        double value = 0;
        std::from_chars(written.data(), written.data() + written.size(), value);
        if (places != 0) written.erase(written.find_last_not_of('0') + 1);
        if (written.back() == '.') written.pop_back();
        ASSERT_EQ(floating(value, -1), written);
    }
}

TEST(kxDtoA, WarnsOfWhatIsTooLarge)
{
    kxMessageRecorder recorder(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
    for (const double value : {1e20, HUGE_VAL, std::nan("")}) {
        char text[kxDtoARoom(3)];
        std::uint32_t length = 99;
        kxDtoA(text, value, 3, &length);
        EXPECT_EQ(length, 0U);
        EXPECT_STREQ(text, "");
    }
    ASSERT_EQ(recorder.entries().size(), 3U);
    EXPECT_EQ(recorder.entries()[0].text, "Too large number for kxDtoA");
    EXPECT_EQ(recorder.entries()[0].level, KX_MESSAGE_INTERNAL_WARNING);
    EXPECT_EQ(floating(-HUGE_VAL, 3), "-");
}
