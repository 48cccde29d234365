#include "kxbase/serialize/kxBase64Codec.h"
#include "kxbase/serialize/kxHexCodec.h"
#include "kxbase/serialize/kxSerializeAdapterBCDEncoder.h"
#include "kxbase/serialize/kxSerializeAdapterBase64Encoder.h"
#include "kxbase/serialize/kxSerializeAdapterFile.h"
#include "tests/support/kxScriptedAdapter.h"
#include "tests/support/kxTempDirectory.h"
#include "tests/support/kxTestRandom.h"

#include <gtest/gtest.h>

#include <cctype>
#include <stdexcept>

namespace {

enum Encoding { HEX, BASE64 };
using Encoder = kxRefPointer<kxSerializeAdapter>;

Encoder makeEncoder(Encoding encoding, const Encoder& parent)
{
    if (encoding == HEX) return kxMakeRef<kxSerializeAdapterBCDEncoder>(parent);
    return kxMakeRef<kxSerializeAdapterBase64Encoder>(parent);
}

std::string widen(const std::string& text)
{
    std::string wide;
    for (const char character : text) wide.append({character, '\0'});
    return wide;
}

// An encoder over a text that the test can look at.
struct Stage {
    Stage(Encoding encoding, bool isWide, const std::string& text = {})
    {
        parent->setFlags(isWide ? KX_SERIALIZE_WIDE : 0);
        parent->ready = isWide ? widen(text) : text;
        encoder = makeEncoder(encoding, parent);
    }
    std::string read(std::uint32_t count)
    {
        std::string bytes(count, '#');
        bytes.resize(encoder->read(bytes.data(), count));
        return bytes;
    }
    void write(std::string_view bytes)
    {
        encoder->write(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    }

    kxScriptedAdapter::Journal journal;
    kxRefPointer<kxScriptedAdapter> parent{new kxScriptedAdapter("parent", journal)};
    Encoder encoder;
};

std::string randomBytes(kxTestRandom& random, std::size_t size)
{
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
}

// Mostly good text, with white space, padding and foreign characters strewn in.
std::string randomText(kxTestRandom& random, Encoding encoding)
{
    Stage stage(encoding, false);
    stage.write(randomBytes(random, random() % (random() % 32 == 0 ? 15000 : 200)));
    std::string& text = stage.parent->written;
    const std::uint32_t faults = text.empty() ? 0 : random() % 20;
    for (std::uint32_t fault = 0; fault < faults; ++fault) {
        text.insert(random() % text.size(), random() % 3, " =\n\r=-\xE9g"[random() % 8]);
    }
    return text;
}

}  // namespace

TEST(kxTextEncoder, ReadsGoodAndFaultyText)
{
    const struct {
        const char* why;
        Encoding encoding;
        std::string text;
        std::string bytes;
    } cases[] = {
        {"white space before a digit", HEX, " 3c", "\x3C"},
        {"white space within a byte", HEX, "3 \nC4\t1", "\x3C\x41"},
        {"no digit first: the second one alone", HEX, "G5", "\x05"},
        {"no digit second", HEX, "5G41", "\x50\x41"},
        {"characters beyond ASCII count 0", HEX, "\xC3\xBC", std::string(1, '\0')},
        {"a second digit that white space hides counts 0", HEX, "413 ", "\x41\x30"},
        {"a line feed gives no byte", HEX, "3C\n", "\x3C"},
        {"nor does much white space", HEX, "3C\r\n\r\n", "\x3C"},
        {"only white space", HEX, " \n \n ", ""},
        {"a whole group", BASE64, "TWFu", "Man"},
        {"padding", BASE64, "TQ==", "M"},
        {"no padding", BASE64, "TQ", "M"},
        {"one padding character that is missing", BASE64, "TQ=", "M"},
        {"two bytes, padded", BASE64, "TWE=", "Ma"},
        {"two bytes, not padded", BASE64, "TWE", "Ma"},
        {"padded texts behind each other", BASE64, "TQ==TWFu", "MMan"},
        {"white space anywhere", BASE64, " T\nW F\tu\n", "Man"},
        {"foreign characters are passed over", BASE64,
         "T-W_\xE9"
         "Fu",
         "Man"},
        {"the two last of the alphabet", BASE64, "+/+/", "\xFB\xFF\xBF"},
        {"one character gives no byte", BASE64, "TWFuT", "Man"},
        {"nor does one that is padded", BASE64, "T===TWFu", "Man"},
        {"padding alone", BASE64, "====", ""},
        {"only white space", BASE64, " \n \n ", ""},
    };
    for (const auto& c : cases) {
        for (const bool isWide : {false, true}) {
            SCOPED_TRACE(std::string(c.why) + (isWide ? ", wide" : ""));
            Stage byBlock(c.encoding, isWide, c.text);
            EXPECT_EQ(byBlock.read(100), c.bytes);
            Stage byByte(c.encoding, isWide, c.text);
            std::string bytes;
            while (bytes.size() < c.bytes.size()) bytes += static_cast<char>(byByte.encoder->readByte());
            EXPECT_EQ(bytes, c.bytes);
        }
    }
}

TEST(kxTextEncoder, LoopsStopAtTheFirstForeignCharacter)
{
    for (unsigned character = 0; character < 256; ++character) {
        const auto foreign = static_cast<std::uint8_t>(character);
        const bool isDigit = std::isxdigit(static_cast<int>(character)) != 0;
        for (std::size_t place = 0; place < 16; ++place) {
            std::uint8_t bytes[12];
            std::string text(16, '5');
            text[place] = static_cast<char>(character);
            const auto* const begin = reinterpret_cast<const std::uint8_t*>(text.data());
            EXPECT_EQ(kxHexCodec::decode(begin, 8, bytes), isDigit ? 8 : place / 2) << character;
            const bool isData = kxBase64Codec::value(foreign) < 64;
            EXPECT_EQ(kxBase64Codec::decode(begin, 4, bytes), isData ? 4 : place / 4) << character;
        }
    }
}

TEST(kxTextEncoder, BlocksReadWhatBytesReadAndLeaveTheSameTextBehind)
{
    kxTestRandom random(2);
    for (int round = 0; round < 400; ++round) {
        const Encoding encoding = round % 2 == 0 ? HEX : BASE64;
        const bool isWide = random() % 2 == 0;
        const std::string text = randomText(random, encoding);
        SCOPED_TRACE(text);
        Stage blocks(encoding, isWide, text);
        Stage bytes(encoding, isWide, text);
        if (random() % 2 == 0) blocks.parent->shortRead = 1 + random() % 50;
        while (blocks.encoder->length() != 0) {
            const std::uint32_t count = 1 + random() % (random() % 4 == 0 ? 15000 : 5);
            const std::string block = blocks.read(count);
            for (const char byte : block) ASSERT_EQ(static_cast<char>(bytes.encoder->readByte()), byte);
            // Where a block ends early, there is less text than a byte needs or no byte in all of it.
            if (block.size() < count && bytes.encoder->length() != 0) ASSERT_EQ(bytes.encoder->readByte(), 0);
            ASSERT_EQ(blocks.parent->ready, bytes.parent->ready);
            ASSERT_EQ(blocks.encoder->length(), bytes.encoder->length());
        }
    }
}

TEST(kxTextEncoder, BlocksWriteWhatBytesWriteAndAllOfItIsReadBack)
{
    kxTestRandom random(3);
    for (int round = 0; round < 30; ++round) {
        const Encoding encoding = round % 2 == 0 ? HEX : BASE64;
        const bool isWide = random() % 2 == 0;
        const std::string data = randomBytes(random, random() % 40000);
        Stage mixed(encoding, isWide);
        Stage bytes(encoding, isWide);
        for (std::size_t start = 0; start < data.size();) {
            const std::size_t most = random() % 4 == 0 ? 30000 : 4;
            const std::string piece = data.substr(start, random() % most);
            start += piece.size();
            if (random() % 2 == 0)
                mixed.write(piece);
            else
                for (const char byte : piece) mixed.encoder->writeByte(static_cast<std::uint8_t>(byte));
        }
        for (const char byte : data) bytes.encoder->writeByte(static_cast<std::uint8_t>(byte));
        mixed.encoder->flush();
        bytes.encoder->flush();
        ASSERT_EQ(mixed.parent->written, bytes.parent->written);
        mixed.parent->ready = mixed.parent->written;
        ASSERT_EQ(mixed.read(static_cast<std::uint32_t>(data.size()) + 9), data);
    }
}

TEST(kxTextEncoder, WritesTheTextThatOtherProgramsWrite)
{
    const struct {
        const char* why;
        Encoding encoding;
        bool isWide;
        const char* bytes;
        std::string text;
    } cases[] = {
        {"upper-case digits", HEX, false, "\x3C\xAF\x09", "3CAF09"},
        {"a zero byte behind each digit", HEX, true, "\x3C", widen("3C")},
        {"a whole group", BASE64, false, "Man", "TWFu"},
        {"one byte, without padding", BASE64, false, "M", "TQ"},
        {"two bytes, without padding", BASE64, false, "Ma", "TWE"},
        {"the end of the alphabet", BASE64, false, "\xFB\xFF\xBF", "+/+/"},
        {"a zero byte behind each character", BASE64, true, "ManM", widen("TWFuTQ")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Stage stage(c.encoding, c.isWide);
        stage.write(c.bytes);
        stage.encoder = nullptr;  // ends the group
        EXPECT_EQ(stage.parent->written, c.text);
    }
}

TEST(kxTextEncoder, Base64TurnsBetweenWritingAndReading)
{
    Stage stage(BASE64, false, "TWFuTWFu");
    stage.write("M");
    EXPECT_EQ(stage.encoder->readByte(), 'M');
    EXPECT_EQ(stage.parent->written, "TQ") << "what was written comes out first";
    EXPECT_EQ(stage.encoder->getDataLength(), 5U) << "two of them decoded";
    stage.write("Ma");
    EXPECT_EQ(stage.encoder->getDataLength(), 3U) << "decoded bytes are gone";
    EXPECT_EQ(stage.encoder->flush(), 0U);
    EXPECT_EQ(stage.parent->written, "TQTWE");
    stage.encoder->readByte();
    stage.encoder->pushBack('x');
    stage.encoder->flush();
    EXPECT_EQ(stage.encoder->length(), 1U) << "flush keeps what was pushed back and drops what was decoded";
}

TEST(kxTextEncoder, LayersOfEncodersGiveBackWhatWentIn)
{
    kxTestRandom random(4);
    const std::string data = randomBytes(random, 30000);
    for (const bool isWide : {false, true}) {
        Stage stage(BASE64, isWide);
        Encoder outer = makeEncoder(HEX, stage.encoder);
        outer->write(data.data(), static_cast<std::uint32_t>(data.size()));
        stage.encoder->flush();
        stage.parent->ready = stage.parent->written;
        std::string bytes(data.size() + 1, '#');
        bytes.resize(outer->read(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
        EXPECT_EQ(bytes, data);
    }
}

TEST(kxTextEncoder, EndsWithItsParentWhateverTailIsLeft)
{
    const kxTempDirectory folder;
    const struct {
        Encoding encoding;
        const char* text;
        const char* bytes;
    } cases[] = {{HEX, "3c\n", "\x3C"}, {HEX, "3c4", "\x3C"}, {BASE64, "TWFu\n", "Man"}, {BASE64, "", ""}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const std::string path = folder.write("text", c.text);
        const auto file = kxMakeRef<kxSerializeAdapterFile>(path.c_str(), KX_SERIALIZE_INPUT, false);
        const Encoder encoder = makeEncoder(c.encoding, file);
        std::string bytes;
        while (encoder->length() != 0) {
            EXPECT_FALSE(encoder->hasError());
            bytes += static_cast<char>(encoder->readByte());
        }
        EXPECT_EQ(bytes, c.bytes);
        EXPECT_TRUE(encoder->hasError());
        EXPECT_EQ(encoder->getError(), "End of file");
    }
}

TEST(kxTextEncoder, SurvivesParentsThatDoNotKeepTheirWord)
{
    // Says that it has data and has none; refuses what is written.
    class Liar : public kxSerializeAdapter {
    public:
        void writeByte(std::uint8_t /*byte*/) override { throw std::runtime_error("refused"); }
        std::uint8_t readByte() override { return 0; }
        std::uint32_t readBlock(void* /*bytes*/, std::uint32_t /*count*/) override { return 0; }
        std::uint32_t getDataLength() override { return 0xFFFFFFFF; }
    };
    char bytes[8];
    for (const Encoding encoding : {HEX, BASE64}) {
        Encoder encoder = makeEncoder(encoding, kxMakeRef<Liar>());
        EXPECT_GE(encoder->length(), 0x7FFFFFFFU);
        EXPECT_EQ(encoder->read(bytes, 8), 0U);
        EXPECT_EQ(encoder->readByte(), 0);
        EXPECT_FALSE(encoder->hasError());
    }
    Encoder writer = makeEncoder(BASE64, kxMakeRef<Liar>());
    writer->writeByte('M');
    EXPECT_THROW(writer = nullptr, std::runtime_error);
}
