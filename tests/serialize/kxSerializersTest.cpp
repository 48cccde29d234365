#include "kxbase/serialize/kxSerializeBinary.h"
#include "kxbase/serialize/kxSerializeGUID.h"
#include "kxbase/serialize/kxSerializeString.h"
#include "kxbase/serialize/kxSerializeStringWide.h"
#include "kxbase/serialize/kxSerializeVector.h"
#include "kxbase/serialize/kxVarUInt64.h"
#include "support/kxScriptedAdapter.h"
#include "support/kxTest.h"

// A terminator in front of its switch would be taken for the switch.
static_assert(!std::is_constructible_v<kxSerializeString, const char*, char, bool>);

namespace {

std::string hexOf(const std::string& bytes)
{
    std::string text;
    for (const char byte : bytes) text += kxString::format("%02X", byte).view();
    return text;
}

std::string stored(const kxSerializeData& value)
{
    const auto adapter = kxTestInput();
    value.write(*adapter);
    EXPECT_EQ(adapter->length(), value.getDataSize());
    return kxTestTake(*adapter);
}

// Writes the value, reads it into the other, gives it back, which changes nothing ahead of what is pending, and
// reads it again.
void expectRoundTrip(const kxSerializeData& value, kxSerializeData& other, const std::string& bytes)
{
    EXPECT_EQ(hexOf(stored(value)), bytes);
    const auto adapter = kxTestInput(stored(value) + "rest");
    other.read(*adapter);
    EXPECT_EQ(hexOf(stored(other)), bytes);
    EXPECT_EQ(adapter->length(), 4U) << "nothing behind the value is taken";
    other.pushBack(*adapter);
    value.pushBack(*adapter);
    other.read(*adapter);
    other.read(*adapter);
    EXPECT_EQ(hexOf(stored(other)), bytes);
    EXPECT_EQ(adapter->length(), 4U);
}

}  // namespace

TEST(kxSerializers, WriteTheseBytesAndReadThemBackAndAgainWhenGivenBack)
{
    const auto check = [](const char* why, const auto& value, const char* bytes) {
        SCOPED_TRACE(why);
        auto other = value;
        other.read(*kxTestInput(std::string(64, '\0')));  // another value
        expectRoundTrip(value, other, bytes);
    };
    constexpr kxByteOrder big = KX_BYTE_ORDER_BIG;
    constexpr kxByteOrder little = KX_BYTE_ORDER_LITTLE;
    check("network order", kxSerializeBinary<int>(1, big), "00000001");
    check("little-endian", kxSerializeBinary<int>(1, little), "01000000");
    check("float", kxSerializeBinary<float>(1.0F, big), "3F800000");
    check("a signalling NaN keeps its bits",
          kxSerializeBinary<double>(std::bit_cast<double>(0x7FF0000000000001U), big), "7FF0000000000001");
    check("64 bits", kxSerializeBinary<long long>(0x0102030405060708, big), "0102030405060708");
    check("wide character", kxSerializeBinary<char16_t>(u'A', big), "0041");
    check("text", kxSerializeString("Ping\r\n"), "50696E670D0A00");
    check("wide, network order", kxSerializeStringWide("A", big), "00410000");
    check("wide, little-endian", kxSerializeStringWide("A\xE2\x82\xAC", little), "4100AC200000");
    check("two components", kxSerializeVec2({1.0F, -2.0F}, big), "3F800000C0000000");
    check("whole components", kxSerializeVector<unsigned int, 3>({1, 2, 3}), "010000000200000003000000");
    check("GUID", kxSerializeGUID(kxGUID("{00112233-4455-6677-8899-AABBCCDDEEFF}")),
          "00112233445566778899AABBCCDDEEFF");
    check("0 as varint", kxVarUInt64(0), "00");
    check("the last of one byte", kxVarUInt64(127), "7F");
    check("the first of two", kxVarUInt64(128), "8001");
    check("low groups first", kxVarUInt64(300), "AC02");
    check("the last that comes back", kxVarUInt64((1ULL << 63) - 1), "FFFFFFFFFFFFFFFF7F");
}

TEST(kxVarUInt64, ReadsAnyNumberOfBytesAddingEachAtItsPlaceModulo64)
{
    const std::tuple<std::string, std::uint64_t> cases[] = {
        {std::string("\x81\x80\x80\x00", 4), 1},                          // needless zero groups
        {std::string(9, '\xFF') + '\x01', ~0ULL},                         // the tenth byte has place 63
        {std::string(9, '\x80') + '\x7F', 1ULL << 63},                    // what is above bit 63 falls out
        {std::string(1, '\xC0') + std::string(9, '\x80') + '\x01', 128},  // the eleventh is added at place 6
    };
    for (const auto& [bytes, value] : cases) {
        kxVarUInt64 found(5);
        found.read(*kxTestInput(bytes));
        EXPECT_EQ(found.getValue(), value);
        const auto* const place = reinterpret_cast<const std::uint8_t*>(bytes.data());
        const auto size = static_cast<std::uint32_t>(bytes.size());
        std::uint64_t decoded = 5;
        EXPECT_TRUE(kxVarUInt64::decode(place, size - 1, decoded) == 0 && decoded == 5) << "cut short";
        EXPECT_TRUE(kxVarUInt64::decode(place, size, decoded) == size && decoded == value);
    }
    for (std::uint32_t bit = 0; bit < 63; ++bit) {
        const kxVarUInt64 value(0x5555555555555555 >> (62 - bit));
        kxVarUInt64 found;
        found.read(*kxTestInput(stored(value)));
        EXPECT_EQ(found.getValue(), value.getValue());
        EXPECT_EQ(stored(value).size(), bit / 7 + 1);
    }
    // The tenth byte is never written, although the ninth announces it.
    EXPECT_EQ(hexOf(stored(kxVarUInt64(~0ULL))), "FFFFFFFFFFFFFFFFFF");
    EXPECT_EQ(hexOf(stored(kxVarUInt64(1ULL << 63))), "808080808080808080");
}

TEST(kxSerializers, TakeWhatThereIsWhenTheDataEndsTooEarly)
{
    kxSerializeBinary<unsigned int> number(0x01020304, KX_BYTE_ORDER_BIG);
    number.read(*kxTestInput("\xAA\xBB"));
    EXPECT_EQ(number.getValue(), 0xAABB0304U) << "the stored form is overwritten from its start";
    number.read(*kxTestInput(""));
    EXPECT_EQ(number.getValue(), 0xAABB0304U);
    kxSerializeString text("before");
    text.read(*kxTestInput("no end"));
    EXPECT_EQ(text.getText(), "no end");
    text.read(*kxTestInput(""));
    EXPECT_EQ(text.getText(), "");
    kxSerializeStringWide wide("before", KX_BYTE_ORDER_BIG);
    wide.read(*kxTestInput(std::string("\xD8\x3D\xDE\x00\x00", 5)));
    EXPECT_EQ(wide.getText(), "\xF0\x9F\x98\x80") << "a pair is one character, the odd byte is dropped";
}

TEST(kxSerializeBinary, MovesArraysWithOneBlockOperation)
{
    for (const kxByteOrder order : {KX_BYTE_ORDER_LITTLE, KX_BYTE_ORDER_BIG}) {
        kxTestRandom random(7);
        std::vector<double> values(40000);
        std::string expected;
        for (double& value : values) {
            value = random();
            expected += stored(kxSerializeBinary<double>(value, order));
        }
        kxScriptedAdapter::Journal journal;
        const auto adapter = kxMakeRef<kxScriptedAdapter>("wire", journal);
        kxSerializeBinary<double>::writeArray(*adapter, values.data(), 40000, order);
        EXPECT_EQ(journal.size(), 1U);
        EXPECT_TRUE(adapter->written == expected);

        std::vector<double> found(40001, -1.0);
        adapter->ready = expected + "odd";
        EXPECT_EQ(kxSerializeBinary<double>::readArray(*adapter, found.data(), 40001, order), 40000U);
        EXPECT_EQ(journal.size(), 2U);
        found.pop_back();
        EXPECT_TRUE(found == values);
    }
}
