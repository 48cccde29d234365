#include "kxbase/string/kxUtf.h"

#include "support/kxMessageRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <string>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char* const kEncoderFault = "Utf decoding on faulty data input";
const char* const kDecoderFault = "Utf encoding on faulty data set";

std::string encoded(std::uint32_t codePoint)
{
    char bytes[KX_UTF_MAX_BYTES];
    const std::uint32_t length = kxUtfEncode(codePoint, bytes);
    EXPECT_EQ(length, kxUtfByteCount(codePoint));
    return {bytes, length};
}

}  // namespace

TEST(kxUtf, EncodesAndDecodesTheEndsOfEveryForm)
{
    // The forms of two to four bytes from Python's chr(n).encode("utf-8", "surrogatepass"), the longer ones by
    // hand from the bits.
    const struct {
        std::uint32_t codePoint;
        std::string bytes;
    } cases[] = {{0x00, std::string(1, '\0')},
                 {0x7F, "\x7F"},
                 {0x80, "\xC2\x80"},
                 {0x7FF, "\xDF\xBF"},
                 {0x800, "\xE0\xA0\x80"},
                 {0xD800, "\xED\xA0\x80"},
                 {0xFFFF, "\xEF\xBF\xBF"},
                 {0x10000, "\xF0\x90\x80\x80"},
                 {0x1FFFFF, "\xF7\xBF\xBF\xBF"},
                 {0x200000, "\xF8\x88\x80\x80\x80"},
                 {0x3FFFFFF, "\xFB\xBF\xBF\xBF\xBF"},
                 {0x4000000, "\xFC\x84\x80\x80\x80\x80"},
                 {0x7FFFFFFF, "\xFD\xBF\xBF\xBF\xBF\xBF"}};
    kxMessageRecorder recorder(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.codePoint);
        EXPECT_EQ(encoded(c.codePoint), c.bytes);
        std::uint32_t length = 99;
        EXPECT_EQ(kxUtfDecode(c.bytes + "\x80tail", length), c.codePoint);
        EXPECT_EQ(length, c.bytes.size());
        if (c.bytes.size() < 2) continue;
        EXPECT_EQ(recorder.takeTexts().size(), 0U);
        EXPECT_EQ(kxUtfDecode(std::string_view(c.bytes).substr(0, c.bytes.size() - 1), length), 0U);
        EXPECT_EQ(length, 0U) << "a sequence cut short";
        EXPECT_THAT(recorder.takeTexts(), ElementsAre(kDecoderFault));
    }
}

TEST(kxUtf, WarnsWithTheTextOfTheOtherDirection)
{
    kxMessageRecorder recorder(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
    char untouched[KX_UTF_MAX_BYTES] = {'x'};
    EXPECT_EQ(kxUtfEncode(0x80000000U, untouched), 0U);
    EXPECT_EQ(untouched[0], 'x');
    EXPECT_EQ(kxUtfByteCount(0xFFFFFFFFU), 0U);
    EXPECT_THAT(recorder.takeTexts(), ElementsAre(kEncoderFault, kEncoderFault));

    // Nothing, stray continuations, leads that are none, and continuations that are none.
    for (const char* bytes :
         {"", "\x80", "\xBF", "\xFE\x80\x80\x80\x80\x80\x80", "\xFF\x80\x80\x80\x80\x80\x80", "\xC3\x41",
          "\xE2\x82\xC0", "\xFC\x84\x80\x80\x80\x7F"}) {
        std::uint32_t length = 99;
        EXPECT_EQ(kxUtfDecode(bytes, length), 0U);
        EXPECT_EQ(length, 0U);
        EXPECT_THAT(recorder.takeTexts(), ElementsAre(kDecoderFault)) << bytes;
    }
    std::uint32_t length = 0;
    EXPECT_EQ(kxUtfDecode("\xC1\x81", length), 0x41U) << "overlong forms are accepted";
    EXPECT_THAT(recorder.entries(), IsEmpty());
}

TEST(kxUtf, ConvertsBlocksLikeSingleSequences)
{
    std::mt19937 random(5);
    const std::string pieces[] = {"a",
                                  "0123456789abcdefghij",
                                  "\xC3\xA9",
                                  "\xE2\x82\xAC",
                                  "\xF0\x9F\x98\x80",
                                  "\xED\xA0\x80",
                                  "\xF8\x88\x80\x80\x80",
                                  std::string(1, '\0'),
                                  "\x80",
                                  "\xC3"};
    for (int round = 0; round < 4000; ++round) {
        std::string text;
        // Faulty pieces are the last two, and rare.
        for (auto count = random() % 12; count != 0; --count)
            text += pieces[random() % (random() % 8 ? 8 : 10)];
        std::u16string expected;
        const std::size_t room = random() % 2 ? text.size() : random() % (text.size() + 1);
        std::string_view left = text;
        while (expected.size() < room && kxUtfPeek(left).length != 0) {
            expected += static_cast<char16_t>(kxUtfPeek(left).codePoint);
            left.remove_prefix(kxUtfPeek(left).length);
        }
        std::u16string units(room, u'?');
        const kxUtfProgress progress = kxUtfToWide(text, units.data(), room);
        ASSERT_EQ(progress.read, text.size() - left.size());
        ASSERT_EQ(units.substr(0, progress.written), expected);

        std::string narrow, joined;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const bool pair = i + 1 < expected.size() && expected[i] >= 0xD800 && expected[i] < 0xDC00 &&
                              expected[i + 1] >= 0xDC00 && expected[i + 1] < 0xE000;
            const std::uint32_t high = expected[i];
            narrow += encoded(pair ? 0x10000 + ((high - 0xD800) << 10U) + (expected[i + 1] - 0xDC00U) : high);
            i += pair ? 1 : 0;
        }
        joined.resize(kxUtfLengthOfWide(expected));
        ASSERT_EQ(kxUtfFromWide(expected, joined.data()), joined.size());
        ASSERT_EQ(joined, narrow);
    }
}

TEST(kxUtf, CutsBetweenCharacters)
{
    const std::string text = "a\xC3\xA9\xE2\x82\xAC";
    const std::size_t wholes[] = {0, 1, 1, 3, 3, 3, 6};
    for (std::size_t size = 0; size <= text.size(); ++size)
        EXPECT_EQ(kxUtfWholeLength(std::string_view(text).substr(0, size)), wholes[size]) << size;
    EXPECT_EQ(kxUtfWholeLength("\x80\x80\x80\x80\x80\x80\x80"), 7U) << "no lead byte near";
    EXPECT_EQ(kxUtfPrefix(text, 2), 3U);
    EXPECT_EQ(kxUtfPrefix("\xFF\x80z", 2), 2U) << "faulty bytes are characters";
    EXPECT_EQ(kxUtfPrefix(text, 100), text.size());
}
