#include "kxbase/program/kxLanguageFileParser.h"

#include "program/kxLanguageFileBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace {

// Reads the bytes in pieces; answers "none" when the text has no translation.
std::string find(const std::string& bytes, std::string_view english, std::string_view language,
                 std::size_t pieceBytes = 4096)
{
    kxTranslations translations;
    kxLanguageFileParser parser(translations);
    for (std::size_t at = 0; at < bytes.size(); at += pieceBytes) {
        parser.read(reinterpret_cast<const std::uint8_t*>(bytes.data()) + at,
                    std::min(pieceBytes, bytes.size() - at));
    }
    parser.finish();
    const std::string* const found = translations.find(english, language);
    return found != nullptr ? *found : "none";
}

}  // namespace

TEST(kxLanguageFileParser, FindsTranslationsInEveryByteOrder)
{
    const struct {
        const char* why;
        std::u16string file;
        std::string expected;  // for "Key" in "deu"
    } cases[] = {
        {"an entry", u"\"Key\"\ndeu \"Wort\"\n", "Wort"},
        {"other languages and entries around it",
         u"\"A\"\ndeu \"x\"\n\"Key\"\nfra \"mot\"\ndeu \"Wort\"\n\"B\"\ndeu \"y\"\n", "Wort"},
        {"no line end, blanks, comments, empty lines and lines of CR LF",
         u"# c\r\n\r\n \t\"Key\"  \r\n  # deu \"no\"\r\n\r\n\tdeu\t \"Wort\" ", "Wort"},
        {"escapes, and a backslash that is none", uR"("Key"
deu "\n\r\t\\\"\x%s")",
         "\n\r\t\\\"\\x%s"},
        {"the last entry", u"\"Key\"\ndeu \"a\"\n\"K\"\n\"Key\"\ndeu \"b\"\n", "b"},
        {"a pair of surrogates", u"\"Key\"\ndeu \"\U0001F600\"\n", "\xF0\x9F\x98\x80"},
        {"lone halves",
         std::u16string(u"\"Key\"\ndeu \"") + char16_t{0xDC00} + u'a' + char16_t{0xD800} + u"\"\n",
         "\xEF\xBF\xBD\x61\xEF\xBF\xBD"},
        {"a mark of a file that was appended", u"\uFEFF\"Key\"\n\uFEFFdeu \"Wort\"\n", "Wort"},
        {"a zero unit is kept", std::u16string(u"\"Key\"\ndeu \"a\0b\"", 15), std::string("a\0b", 3)},
        {"quote not closed", u"\"Key\"\ndeu \"Wort\nfra \"x\"\n", "none"},
        {"only an escaped quote behind it", u"\"Key\"\ndeu \"Wort\\\"\n", "none"},
        {"words behind the quote", u"\"Key\"\ndeu \"Wort\" x\n", "none"},
        {"no quotes, no code, no text", u"\"Key\"\ndeu Wort\ndeu\n\"\"\ndeu \"x\"\n", "none"},
        {"of a faulty text, not of the one before", u"\"Key\"\n\"Other\ndeu \"Wort\"\n", "none"},
        {"an empty translation", u"\"Key\"\ndeu \"\"\n", "none"},
        {"longest text", u"\"Key\"\ndeu \"" + std::u16string(65535, u'x') + u"\"\n", std::string(65535, 'x')},
        {"all of it escaped", u"\"Key\"\ndeu \"" + escaped(65535) + u"\"\n", std::string(65535, '\n')},
        {"a text that is too long", u"\"Key\"\ndeu \"" + std::u16string(65536, u'x') + u"\"\n", "none"},
        {"a huge line, and one behind it",
         u"\"Key\"\n" + std::u16string(200000, u'"') + u"\n\"Key\"\ndeu \"b\"\n", "b"},
        {"nothing", u"", "none"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, std::size_t{1} << 20U}) {
            EXPECT_EQ(find(littleEndian(c.file), "Key", "deu", piece), c.expected);
            EXPECT_EQ(find(littleEndian(u'\uFEFF' + c.file) + "\n", "Key", "deu", piece), c.expected);
            EXPECT_EQ(find(bigEndian(u'\uFEFF' + c.file), "Key", "deu", piece), c.expected);
        }
    }
}

TEST(kxLanguageFileParser, LimitsTheLanguages)
{
    std::u16string file(u"\"Key\"\n");
    for (char16_t language = 0; language < 100; ++language)
        file += std::u16string{u'c', static_cast<char16_t>(0x1000 + language)} + u" \"x\"\n";
    EXPECT_EQ(find(littleEndian(file), "Key", "c\xE1\x80\xBF"), "x");
    EXPECT_EQ(find(littleEndian(file), "Key", "c\xE1\x81\x80"), "none");
}

TEST(kxLanguageFileParser, TakesTheCatalogueOfTheLibrary)
{
    std::ifstream file(KX_TEST_SOURCE_DIR "/docs/korvexsdk.lng", std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    for (const char* const text :
         {"kxArray [] index out of bounds", " Warning::", "Using kxString::format(\"%n$\") where n<1 or n>16",
          "Can use KX_SERIALIZE_INPUT on a file opened for writing !\n", "KORVEX Fatal System Error ! %s"})
        EXPECT_EQ(find(bytes, text, "eng"), text);
}
