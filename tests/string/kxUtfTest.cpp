#include "kxbase/string/kxUtf.h"

#include "kxbase/string/kxString.h"
#include "support/kxTest.h"

namespace {

using Texts = std::vector<std::string>;
constexpr std::uint32_t kLevel = KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL;
const Texts kFault = {"Utf encoding on faulty data set"};

void expectDecoded(std::string_view bytes, std::uint32_t codePoint, std::size_t length)
{
    const kxMessageRecorder recorder(kLevel);
    std::uint32_t used = 99;
    EXPECT_EQ(kxUtfDecode(bytes, used), codePoint) << bytes;
    EXPECT_EQ(used, length) << bytes;
    EXPECT_EQ(recorder.texts(), length != 0 ? Texts() : kFault) << bytes;
}

}  // namespace

TEST(kxUtf, EncodesAndDecodesTheEndsOfEveryForm)
{
    // The forms of two to four bytes from Python's chr(n).encode("utf-8", "surrogatepass"), the longer ones by
    // hand from the bits.
    const char32_t codePoints[] = {0x7F,    0x80,     0x7FF,    0x800,     0xD800,    0xFFFF,
                                   0x10000, 0x1FFFFF, 0x200000, 0x3FFFFFF, 0x4000000, 0x7FFFFFFF};
    const kxString forms(
        "\x7F \xC2\x80 \xDF\xBF \xE0\xA0\x80 \xED\xA0\x80 \xEF\xBF\xBF \xF0\x90\x80\x80 \xF7\xBF\xBF\xBF "
        "\xF8\x88\x80\x80\x80 \xFB\xBF\xBF\xBF\xBF \xFC\x84\x80\x80\x80\x80 \xFD\xBF\xBF\xBF\xBF\xBF");
    std::size_t next = 0;
    for (const kxString& form : forms.split(" ")) {
        EXPECT_EQ(kxString(codePoints[next]), form);
        expectDecoded((form + "\x80").view(), codePoints[next++], form.length());
        expectDecoded(form.view().substr(0, form.length() - 1U), 0, 0);
    }
    expectDecoded("\xC1\x81", 0x41, 2);  // overlong
    EXPECT_EQ(kxUtfPrefix("\xFF\x80z", 2), 2U) << "faulty bytes are characters";
    // Stray continuations, leads that are none, and continuations that are none.
    for (const char* bytes : {"\x80", "\xBF", "\xFE\x80\x80\x80\x80\x80\x80", "\xFF\x80\x80\x80\x80\x80\x80",
                              "\xC3\x41", "\xE2\x82\xC0", "\xFC\x84\x80\x80\x80\x7F"})
        expectDecoded(bytes, 0, 0);
    const kxMessageRecorder recorder(kLevel);
    char untouched = 'x';
    EXPECT_EQ(kxUtfEncode(0x80000000U, &untouched) + kxUtfByteCount(0xFFFFFFFFU), 0U);
    EXPECT_EQ(untouched, 'x');
    EXPECT_EQ(recorder.texts(), Texts(2, "Utf decoding on faulty data input"));
}

TEST(kxUtf, ConvertsBlocksLikeSingleSequences)
{
    kxTestRandom random(5);
    // Faulty pieces are the last three, and rare.
    const kxString all(
        "0123456789abcdefghij a \xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80 \xED\xA0\x80 \x80 \xC3 \xE2\x82");
    const std::vector<kxString> pieces = all.split(" ");
    for (int round = 0; round < 4000; ++round) {
        std::string text, narrow;
        for (auto count = random() % 12; count != 0; --count)
            text += pieces[random() % (random() % 8 ? 6 : 9)].view();
        std::u16string wide;
        const std::size_t room = random() % 2 ? text.size() : random() % (text.size() + 1);
        std::string_view left = text;
        while (wide.size() < room && kxUtfPeek(left).length != 0) {
            wide += static_cast<char16_t>(kxUtfPeek(left).codePoint);
            narrow += kxString(wide.back()).view();
            left.remove_prefix(kxUtfPeek(left).length);
        }
        std::u16string units(room, u'?');
        const kxUtfProgress progress = kxUtfToWide(text, units.data(), room);
        ASSERT_EQ(progress.read, text.size() - left.size());
        ASSERT_EQ(units.substr(0, progress.written), wide);
        ASSERT_EQ(kxString(wide), kxString(narrow));
    }
}

TEST(kxStringWide, JoinsPairsAndCutsAtTheLastWholeCharacter)
{
    EXPECT_EQ(kxString(u"a\u00E9\u20AC\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(kxString(std::u16string{0xDC00, 0, 0xD83D}), kxString("\xED\xB0\x80\0\xED\xA0\xBD", 7));
    const auto expectLength = [](const std::u16string& text, std::uint32_t expected) {
        EXPECT_TRUE(kxString(text).length() == expected && kxString(text) == kxString(text.c_str()))
            << expected;
    };
    expectLength(std::u16string(40000, u'\u00E9'), 65534);
    expectLength(std::u16string(65533, u'a') + u"\U0001F600", 65533);  // does not fit
    expectLength(std::u16string(65531, u'a') + u"\U0001F600", 65535);  // just fits
    expectLength(std::u16string(21844, u'\u20AC') + std::u16string(60000, u'a'), 65535);
}

TEST(kxStringWide, StopsAtTheFirstMalformedSequenceWithOneWarning)
{
    kxMessageRecorder recorder(kLevel);
    const kxString faulty("a\xFFz");
    char16_t units[] = u"????";
    EXPECT_EQ(kxString("\xF0\x9F\x98\x80z").copyWide(units, false), 2U);
    EXPECT_EQ(units, std::u16string(u"\uF600z??")) << "cut to 16 bits, and not ended";
    EXPECT_EQ(faulty.characterCount() + kxString("a\xC3\xA9\xE2\x82").characterCount(), 3U);
    faulty.wide(1);
    EXPECT_EQ(recorder.texts(), Texts()) << "neither counting nor stopping by the length warns";
    EXPECT_TRUE(faulty.copyWide(units, true) == 1 && units == std::u16string(u"a"));
    EXPECT_EQ(recorder.takeTexts(), kFault);
    EXPECT_EQ(faulty.wide(), std::u16string(u"a"));
    EXPECT_EQ(recorder.takeTexts(), kFault);
}

TEST(kxStringWide, BuffersAreUsedInTurnByEachThread)
{
    EXPECT_EQ(kxString(std::string(60000, 'x')).wide(), std::u16string(60000, u'x'));
    EXPECT_EQ(kxString("h\xC3\xA9llo").wide(2), std::u16string(u"h\u00E9"));
    const char16_t* const first = kxString("first").wide();
    const auto convert = [first](std::uint32_t times) {
        while (times-- != 0) EXPECT_NE(kxString("other").wide(), first);
    };
    std::thread(convert, KX_STRING_WIDE_BUFFERS + 1).join();
    convert(KX_STRING_WIDE_BUFFERS - 1);
    EXPECT_EQ(first, std::u16string(u"first")) << "ten results are valid at the same time";
    EXPECT_EQ(kxString("last").wide(), first);
    EXPECT_EQ(first, std::u16string(u"last"));
}
