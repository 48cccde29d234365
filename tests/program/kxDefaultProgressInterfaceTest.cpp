#include "kxbase/program/kxDefaultProgressInterface.h"

#include <gtest/gtest.h>

TEST(kxDefaultProgressInterface, ShowsWhatChanges)
{
    kxDefaultProgressInterface progress;
    const std::string end(31, ' ');
    const struct {
        const char* why;
        std::int32_t percentage;
        std::string text;
        std::string expected;
    } steps[] = {
        {"the first call, whatever its values", 0, "", "\r:Progress 0%\t\t\r"},
        {"the same again", 0, "", ""},
        {"another text", 0, "copying", "\rcopying:Progress 0%\t\t\r"},
        {"another percentage", 50, "copying", "\rcopying:Progress 50%\t\t\r"},
        {"the same", 50, "copying", ""},
        {"a text that begins in the same way", 50, "comparing", ""},
        {"a text that begins otherwise", 50, "%s", "\r%s:Progress 50%\t\t\r"},
        {"a character", 50, "\xC3\xA8", "\r\xC3\xA8:Progress 50%\t\t\r"},
        {"another one with the same first byte", 50, "\xC3\xA9", "\r\xC3\xA9:Progress 50%\t\t\r"},
        {"the same one", 50, "\xC3\xA9t\xC3\xA9", ""},
        {"complete", 100, "%s", "\r%s:Progress 100%\t\t" + end + "\n"},
        {"complete once", 100, "%s", ""},
        {"a long text", 1, std::string(65535, 'x'), "\r" + std::string(65535, 'x') + ":Progress 1%\t\t\r"},
    };
    for (const auto& step : steps) {
        testing::internal::CaptureStdout();
        progress.progress(step.percentage, kxString(step.text));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), step.expected) << step.why;
    }
}
