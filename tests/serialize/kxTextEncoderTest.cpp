#include "kxbase/serialize/kxSerializeAdapterBCDEncoder.h"
#include "kxbase/serialize/kxSerializeAdapterBase64Encoder.h"
#include "kxbase/serialize/kxSerializeAdapterFile.h"
#include "support/kxScriptedAdapter.h"
#include "support/kxTest.h"

namespace {

enum Encoding { HEX, BASE64, HEX_IN_BASE64 };
using Encoder = kxRefPointer<kxSerializeAdapter>;

Encoder makeEncoder(Encoding encoding, const Encoder& parent)
{
    if (encoding == HEX) return kxMakeRef<kxSerializeAdapterBCDEncoder>(parent);
    if (encoding == HEX_IN_BASE64) return makeEncoder(HEX, makeEncoder(BASE64, parent));
    return kxMakeRef<kxSerializeAdapterBase64Encoder>(parent);
}

// An encoder over a text that the test can look at.
struct Stage {
    Stage(Encoding encoding, bool isWide, const std::string& text = {})
    {
        parent->setFlags(isWide ? KX_SERIALIZE_WIDE : 0);
        parent->ready = isWide ? kxTestWide(text) : text;
        encoder = makeEncoder(encoding, parent);
    }
    std::string read(std::uint32_t count) { return kxTestTake(*encoder, count); }
    void write(std::string_view bytes) { kxTestWrite(*encoder, bytes); }

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
std::string randomText(kxTestRandom& random, Encoding encoding, bool isWide)
{
    constexpr std::uint32_t sizes[] = {4, 8, 200};
    Stage stage(encoding, isWide);
    stage.write(randomBytes(random, random() % (random() % 128 == 0 ? 15000 : sizes[random() % 3])));
    std::string& text = stage.parent->written;
    for (std::uint32_t fault = random() % 10; fault != 0; --fault) {
        text.insert(random() % (text.size() + 1), random() % 4, " =\n\r=-\xE9g"[random() % 8]);
    }
    return text;
}

}  // namespace

TEST(kxTextEncoder, ReadsGoodAndFaultyTextAndWritesGood)
{
    const struct {
        const char* why;
        Encoding encoding;
        std::string text, bytes;
        bool isWritten = false;
    } cases[] = {
        {"upper-case digits", HEX, "3CAF09", "\x3C\xAF\x09", true},
        {"the two last of the alphabet", BASE64, "+/+/", "\xFB\xFF\xBF", true},
        {"white space within a byte", HEX, "3 \nC4\t1", "\x3C\x41"},
        {"no digit first: the second one alone", HEX, "G5", "\x05"},
        {"no digit second", HEX, "5G41", "\x50\x41"},
        {"characters beyond ASCII count 0", HEX, "\xC3\xBC", std::string(1, '\0')},
        {"a second digit that white space hides counts 0", HEX, "413 ", "\x41\x30"},
        {"a whole group", BASE64, "TWFu", "Man", true},
        {"padding", BASE64, "TQ==", "M"},
        {"no padding", BASE64, "TQ", "M", true},
        {"padded texts behind each other", BASE64, "TQ==TWFu", "MMan"},
        {"white space anywhere", BASE64, " T\nW F\tu\n", "Man"},
        {"foreign characters are passed over", BASE64, "T-W_Fu\xE9", "Man"},
        {"one character gives no byte", BASE64, "TWFuT", "Man"},
        {"nor does one that is padded", BASE64, "T===TWFu", "Man"},
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
            if (!c.isWritten) continue;
            byBlock.write(c.bytes);
            byBlock.encoder = nullptr;  // ends the group
            EXPECT_EQ(byBlock.parent->written, isWide ? kxTestWide(c.text) : c.text);
        }
    }
}

TEST(kxTextEncoder, BlocksReadWhatBytesReadAndLeaveTheSameTextBehind)
{
    kxTestRandom random(2);
    for (int round = 0; round < 2000; ++round) {
        const Encoding encoding = round % 2 == 0 ? HEX : BASE64;
        const bool isWide = random() % 2 == 0;
        Stage blocks(encoding, isWide);
        Stage bytes(encoding, isWide);
        blocks.parent->ready = bytes.parent->ready = randomText(random, encoding, isWide);
        SCOPED_TRACE(bytes.parent->ready);
        if (random() % 2 == 0) blocks.parent->shortRead = 1 + random() % 50;
        while (blocks.encoder->length() != 0) {
            const std::uint32_t count = 1 + random() % (random() % 4 == 0 ? 15000 : 5);
            const std::string block = blocks.read(count);
            for (const char byte : block) ASSERT_EQ(static_cast<char>(bytes.encoder->readByte()), byte);
            // Where a block ends early, there is less text than a byte needs or no byte in all of it.
            const bool isEarly = block.size() < count && bytes.encoder->length() != 0;
            ASSERT_EQ(isEarly ? bytes.encoder->readByte() : 0, 0);
            ASSERT_EQ(blocks.parent->ready, bytes.parent->ready);
            ASSERT_EQ(blocks.encoder->length(), bytes.encoder->length());
        }
    }
}

TEST(kxTextEncoder, BlocksWriteWhatBytesWriteAndAllOfItIsReadBack)
{
    kxTestRandom random(3);
    for (int round = 0; round < 30; ++round) {
        const auto encoding = static_cast<Encoding>(round % 3);
        const bool isWide = random() % 2 == 0;
        const std::string data = randomBytes(random, random() % 40000);
        Stage mixed(encoding, isWide);
        Stage bytes(encoding, isWide);
        for (std::size_t start = 0; start < data.size();) {
            const std::string piece = data.substr(start, random() % (random() % 4 == 0 ? 30000 : 4));
            start += piece.size();
            if (piece.size() != 1) mixed.write(piece);
            if (piece.size() == 1) mixed.encoder->writeByte(static_cast<std::uint8_t>(piece[0]));
        }
        for (const char byte : data) bytes.encoder->writeByte(static_cast<std::uint8_t>(byte));
        mixed.encoder = nullptr;  // ends the group
        bytes.encoder = nullptr;
        ASSERT_EQ(mixed.parent->written, bytes.parent->written);
        mixed.parent->ready = mixed.parent->written;
        mixed.encoder = makeEncoder(encoding, mixed.parent);
        ASSERT_EQ(mixed.read(static_cast<std::uint32_t>(data.size()) + 9), data);
    }
}

TEST(kxTextEncoder, Base64TurnsBetweenWritingAndReading)
{
    Stage stage(BASE64, false);
    stage.write("M");
    EXPECT_EQ(stage.read(4) + stage.parent->written, "") << "a read of nothing leaves the group";
    stage.parent->ready = "TWFuTWFu";
    EXPECT_EQ(stage.encoder->readByte(), 'M');
    EXPECT_EQ(stage.parent->written, "TQ") << "what was written comes out first";
    stage.write("Ma");
    EXPECT_EQ(stage.encoder->getDataLength(), 3U) << "decoded bytes are gone";
    EXPECT_EQ(stage.encoder->flush(), 0U);
    EXPECT_EQ(stage.parent->written, "TQTWE");
}

TEST(kxTextEncoder, EndsWithItsParentWhateverTailIsLeft)
{
    const kxTempDirectory folder;
    const std::tuple<Encoding, const char*, const char*> cases[] = {
        {HEX, "3c\n", "\x3C"}, {HEX, "3c4", "\x3C"}, {BASE64, "TWFu\n", "Man"}, {BASE64, "", ""}};
    for (const auto& [encoding, text, expected] : cases) {
        const std::string path = folder.write("text", text);
        const auto file = kxMakeRef<kxSerializeAdapterFile>(path.c_str(), KX_SERIALIZE_INPUT, false);
        const Encoder encoder = makeEncoder(encoding, file);
        std::string bytes;
        while (encoder->length() != 0) {
            EXPECT_FALSE(encoder->hasError());
            bytes += static_cast<char>(encoder->readByte());
        }
        EXPECT_EQ(bytes, expected);
        EXPECT_TRUE(encoder->hasError() && encoder->getError() == "End of file") << text;
    }
}

TEST(kxTextEncoder, LeavesVeryLongWhiteSpaceAndGoesOnBehindIt)
{
    const std::tuple<Encoding, const char*, const char*, const char*> cases[] = {
        {HEX, "3", "C41", "\x3C\x41"}, {BASE64, "TWF", "uTQ", "ManM"}};
    for (const auto& [encoding, before, behind, expected] : cases)
        for (const bool isWide : {false, true}) {
            Stage stage(encoding, isWide, before + std::string(1500000, '\n') + behind);
            EXPECT_EQ(stage.read(1000), "");
            std::string bytes;
            while (stage.encoder->length() != 0) bytes += stage.read(1000);
            EXPECT_EQ(bytes, expected);
        }
}
