#include "kxbase/dynamic/kxDynamicTypeArray.h"
#include "kxbase/dynamic/kxDynamicTypeChain.h"
#include "kxbase/dynamic/kxDynamicTypeContainerIterator.h"
#include "kxbase/dynamic/kxDynamicTypeCustom.h"
#include "kxbase/dynamic/kxDynamicTypeError.h"
#include "kxbase/dynamic/kxDynamicTypeInt64.h"
#include "kxbase/dynamic/kxDynamicTypeTimeTagged.h"
#include "kxbase/dynamic/kxDynamicTypeVoid.h"
#include "kxbase/dynamic/kxSerializeDynamicType.h"
#include "kxbase/serialize/kxSerializeString.h"
#include "kxbase/serialize/kxVarUInt64.h"
#include "support/kxTest.h"

#include <cmath>

namespace {

using Texts = std::vector<std::string>;

std::string bytesOf(const kxDynamicType& value)
{
    return {value.getBytes().begin(), value.getBytes().end()};
}

kxDynamicType made(const char* typeName, const std::string& bytes)
{
    return kxDynamicType(typeName, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

std::string countText(std::uint64_t count)
{
    std::uint8_t bytes[kxVarUInt64::KX_MAX_BYTES];
    return {reinterpret_cast<const char*>(bytes), kxVarUInt64::encode(count, bytes)};
}

std::string item(const char* typeName, const std::string& bytes)
{
    return typeName + std::string(1, '\0') + countText(bytes.size()) + bytes;
}

// Arrays inside each other.
std::string nested(std::uint32_t levels)
{
    std::string bytes(1, '\0');
    while (--levels != 0) bytes = "\x01" + item("array", bytes);
    return bytes;
}

// Takes a value apart and puts it together again, down to its innermost values.
kxDynamicType rebuilt(const kxDynamicType& value)
{
    const auto fill = [](auto list, const auto& from) -> kxDynamicType {
        for (const kxDynamicType& each : from) list.append(rebuilt(each));
        return list;
    };
    if (value.isType(KX_UNIQUE_ARRAY)) return fill(kxDynamicTypeArray(), kxDynamicTypeArray(value));
    if (value.isType(KX_UNIQUE_CHAIN)) return fill(kxDynamicTypeChain(), kxDynamicTypeChain(value));
    if (value.isType(KX_UNIQUE_ERROR)) return kxDynamicTypeError(value);
    if (value.isType(KX_UNIQUE_TTAG)) {
        const kxDynamicTypeTimeTagged tagged(value);
        return kxDynamicTypeTimeTagged(rebuilt(tagged.getValue()), tagged.getTime());
    }
    if (!value.isType(KX_UNIQUE_CONT)) return value;
    const kxDynamicTypeContainer from(value);
    kxDynamicTypeContainer container;
    for (kxDynamicTypeContainerIterator at(from); !at.isAtEnd(); ++at)
        container.set(at.getName(), rebuilt(at.getValue()));
    return container;
}

}  // namespace

TEST(kxDynamicType, StoresNumbersInTheShortestForm)
{
    const std::tuple<double, std::string> cases[] = {
        {0, std::string(1, '\0')},
        {-0.0, std::string(1, '\0')},
        {5, "\x05"},
        {-128, "\x80"},
        {128, std::string("\x80\x00", 2)},
        {300, "\x2C\x01"},
        {100000, std::string("\xA0\x86\x01\x00", 4)},
        {-2147483648.0, std::string("\x00\x00\x00\x80", 4)},
        {2147483648.0, std::string("\x00\x00\x00\x00\x00\x00\xE0\x41", 8)},
        {2.5, std::string("\x00\x00\x00\x00\x00\x00\x04\x40", 8)},
        {INFINITY, std::string("\x00\x00\x00\x00\x00\x00\xF0\x7F", 8)},
    };
    for (const auto& [number, bytes] : cases) {
        SCOPED_TRACE(number);
        const kxDynamicType value(number);
        EXPECT_EQ(bytesOf(value), bytes);
        EXPECT_EQ(value.toNumber(), number);
    }
    EXPECT_TRUE(std::isnan(kxDynamicType(std::nan("")).toNumber()));
}

TEST(kxDynamicType, ConvertsItsOwnKindAndNothingElse)
{
    int target = 0;
    const kxGUID guid("{00112233-4455-6677-8899-AABBCCDDEEFF}");
    const auto object = kxMakeRef<kxReference>();
    const kxVec3 vec3{1, 2, 3};
    using V = const kxDynamicType&;
    using D = kxDynamicType;
    const D values[] = {D(),
                        5,
                        std::int64_t(-7),
                        "text",
                        vec3,
                        guid,
                        D(static_cast<void*>(&target)),
                        D(object),
                        kxDynamicTypeArray(),
                        kxDynamicTypeContainer(),
                        kxDynamicTypeChain(),
                        kxDynamicTypeError(),
                        kxDynamicTypeTimeTagged(1, 2),
                        made("mine", "abc")};
    const struct {
        std::function<void(V)> convert;
        std::string accepted;  // with a blank before and behind each
        const char* target;
    } conversions[] = {
        {[](V value) { value.toNumber(); }, " num llnum ", "number type !!"},
        {[](V value) { value.toString(); }, " str guid ptr ref ", "string type !!"},
        {[&](V value) { EXPECT_EQ(value.toVec3(), vec3); }, " vec3 ", "Vec3 type !!"},
        {[&](V value) { EXPECT_EQ(value.toGUID(), guid); }, " guid ", "GUID type !!"},
        {[&](V value) { EXPECT_EQ(value.toPointer(), &target); }, " ptr ", "pointer type !!"},
        {[&](V value) { EXPECT_EQ(value.toReference(), object); }, " ref ", "reference type !!"},
        {[](V value) { kxDynamicTypeInt64{value}; }, " llnum ", "kxDynamicTypeInt64 !!"},
        {[](V value) { kxDynamicTypeVoid{value}; }, " void ", "kxDynamicTypeVoid !!"},
        {[](V value) { kxDynamicTypeArray{value}; }, " array ", "kxDynamicTypeArray !!"},
        {[](V value) { kxDynamicTypeChain{value}; }, " chain ", "kxDynamicTypeChain !!"},
        {[](V value) { kxDynamicTypeContainer{value}; }, " cont ", "kxDynamicTypeContainer !!"},
        {[](V value) { kxDynamicTypeError{value}; }, " error ", "kxDynamicTypeError !!"},
        {[](V value) { kxDynamicTypeTimeTagged{value}; }, " ttag ", "kxDynamicTypeTimeTagged !!"},
        {[](V v) { kxDynamicTypeCustom(v, "mine"); }, " mine ", "kxDynamicTypeCustom type 'mine'!!"},
    };
    for (const auto& conversion : conversions)
        for (const kxDynamicType& value : values) {
            const std::string name(value.getTypeName().view());
            const bool accepted = conversion.accepted.find(" " + name + " ") != std::string::npos;
            const kxString text =
                kxString::format("Can not convert dynamic argument type '%s' to %s", name, conversion.target);
            EXPECT_EQ(kxFatalText([&] { conversion.convert(value); }), accepted ? "" : text);
            EXPECT_TRUE(value.isType(kxString(name.c_str())));
        }
    EXPECT_EQ(values[1].getTypeName().uniqueId(), KX_UNIQUE_NUM);
    EXPECT_EQ(values[2].toNumber(), -7.0);
    EXPECT_EQ(kxDynamicTypeInt64(values[2]).getValue(), -7);
    EXPECT_EQ(values[3].toString(), "text");
    EXPECT_EQ(values[5].toString(), "{00112233-4455-6677-8899-AABBCCDDEEFF}");
    EXPECT_EQ(kxDynamicType(reinterpret_cast<void*>(0xABC)).toString(), "0x0000000000000ABC");
    EXPECT_EQ(made("guid", "").toGUID(), kxGUID());
}

TEST(kxDynamicType, CopiesAreApartAndMovesLeaveVoid)
{
    const std::string longText(100, 'x');
    for (const kxDynamicType& original :
         {kxDynamicType(longText), kxDynamicType(1), made("a", "b"), made("b", "b")}) {
        kxDynamicType copy = original;
        const kxDynamicType taken = std::move(copy);
        EXPECT_EQ(copy, kxDynamicType());
        copy = taken;
        EXPECT_EQ(copy, original);
        copy = made("a", "c");
        EXPECT_NE(copy, original);
        EXPECT_EQ(taken, original);
    }
}

TEST(kxDynamicType, AReferenceOwnsOneCountAlsoInsideOthers)
{
    const auto object = kxMakeRef<kxReference>();
    {
        kxDynamicTypeArray inner;
        inner.append(kxDynamicType(object));
        inner.append(kxDynamicType(static_cast<kxReference*>(nullptr)));
        kxDynamicTypeContainer outer;
        outer.set("list", inner);
        inner.clear();
        const kxDynamicType value = outer;
        outer.clear();
        EXPECT_EQ(object->getReferenceCount(), 2U);
        const kxDynamicType copy = value;
        const kxDynamicTypeArray found(kxDynamicTypeContainer(copy).get("list"));
        EXPECT_EQ(found.get(0).toReference(), object);
        EXPECT_EQ(found.get(1).toReference(), nullptr);

        kxMessageRecorder recorder;
        const kxDynamicTypeContainer forged(made("cont", bytesOf(value)));
        EXPECT_TRUE(forged.isEmpty()) << "the same bytes from outside";
        EXPECT_TRUE(made("ref", bytesOf(kxDynamicType(object))).isType(KX_UNIQUE_VOID));
        EXPECT_EQ(recorder.texts(),
                  (Texts{"Corrupt Stream in kxDynamicTypeContainer!!", "Corrupt Stream in kxDynamicType!!"}));
    }
    EXPECT_EQ(object->getReferenceCount(), 1U);
}

TEST(kxDynamicType, BytesFromOutsideGetAtNothingBesideThem)
{
    const kxDynamicType object(kxMakeRef<kxReference>());
    const std::pair<const char*, kxDynamicType> rows[] = {
        {"names the object beside it", made("array", "\x01" + item("ref", bytesOf(object)))},
        {"broken", made("chain", "\x07")},
        {"without a text", made("error", "1234")},
        {"sound by itself, but not inside another", made("array", nested(64))},
    };
    for (const auto& [why, foreign] : rows) {
        SCOPED_TRACE(why);
        kxMessageRecorder recorder;
        kxDynamicTypeContainer values;
        values.set("foreign", foreign);
        values.set("own", object);
        const kxDynamicTypeContainer found{kxDynamicType(values)};
        EXPECT_EQ(found.get("foreign"), kxDynamicType());
        EXPECT_EQ(found.get("own").toReference(), object.toReference());
        EXPECT_EQ(recorder.texts(), Texts{"Corrupt Stream in kxDynamicType!!"});
    }
}

TEST(kxDynamicTypeContainer, KeepsNamesInTheOrderInWhichTheyCame)
{
    kxDynamicTypeContainer container;
    for (const char* const name : {"b", "a", "", "c"}) container.set(name, name);
    container.set("a", 7);
    EXPECT_TRUE(container.remove("b"));
    EXPECT_FALSE(container.remove("b"));
    container.set("b", kxString("again"));
    std::string seen;
    for (kxDynamicTypeContainerIterator at(container); !at.isAtEnd(); ++at)
        seen += kxString::format("<%s:%s", at.getName(), at.getValue().getTypeName()).view();
    EXPECT_EQ(seen, "<a:num<:str<c:str<b:str");
    EXPECT_EQ(container.get("a").toNumber(), 7);
    EXPECT_FALSE(container.has("none") || !container.get("none").isType(KX_UNIQUE_VOID));
    const kxDynamicTypeContainer copy = container;
    EXPECT_EQ(copy, container);
    container.set("a", 8);
    EXPECT_NE(copy, container);
}

TEST(kxDynamicTypeArray, ChangesAndChecksItsValues)
{
    kxDynamicTypeArray array;
    for (int number = 0; number < 200; ++number) array.append(number);
    array.remove(1);
    array.set(0, "first");
    EXPECT_EQ(array.count(), 199U);
    EXPECT_EQ(array.get(1).toNumber(), 2);
    EXPECT_EQ(array.get(198).toNumber(), 199);
    EXPECT_EQ(kxFatalText([&] { array.remove(199); }), "kxArray get() index out of bounds");
    EXPECT_EQ(kxDynamicTypeArray(kxDynamicType(array)), array);
    while (array.count() > 2) array.remove(2);

    array.checkTypes({"str", "num"});
    const auto checkOne = [&] { array.checkTypes({"str", "guid", "x"}); };
    const auto checkMissing = [&] { array.checkTypes({"str", "num", "vec2"}); };
    const std::string start = "Argument type mismatch : Expected type ";
    EXPECT_EQ(kxFatalText(checkOne), start + "'guid' but got type 'num' for argument 2");
    EXPECT_EQ(kxFatalText(checkMissing), start + "'vec2' but got type 'void' for argument 3");
}

TEST(kxDynamicType, NestedValuesComeBackFromAnAdapter)
{
    const kxDynamicTypeError error(-2, "why");
    kxDynamicTypeArray array;
    for (const kxDynamicType& value : {kxDynamicType(), kxDynamicType(2.5), kxDynamicType(std::int64_t{-7}),
                                       kxDynamicType(std::string(300, 't')), made("mine", "abc"),
                                       kxDynamicType(kxVec3{1.5F, 2, -0.0F}), kxDynamicType(error)})
        array.append(value);
    kxDynamicTypeChain chain;
    chain.append(kxDynamicTypeTimeTagged(array, 2.0));
    chain.append(kxDynamicTypeArray());
    kxDynamicTypeContainer value;
    value.set("chain", chain);
    value.set("", array);
    const auto adapter = kxTestInput();
    const kxSerializeDynamicType stored(value);
    stored.write(*adapter);
    EXPECT_EQ(adapter->length(), stored.getDataSize());
    kxSerializeDynamicType found;
    found.read(*adapter);
    found.pushBack(*adapter);
    kxSerializeDynamicType again(kxDynamicType("something else"));
    again.read(*adapter);
    EXPECT_EQ(adapter->length(), 0U);
    EXPECT_EQ(again.getValue(), value);
    EXPECT_EQ(rebuilt(again.getValue()), value);
    EXPECT_EQ(bytesOf(error), std::string("\xFE\xFF\xFF\xFFwhy\0", 8));
    EXPECT_EQ(bytesOf(kxDynamicTypeTimeTagged(3, 2.0)), item("num", "\x03") + std::string(7, '\0') + "\x40");

    const kxDynamicType custom = kxDynamicTypeCustom("count", kxVarUInt64(300));
    kxVarUInt64 count;
    EXPECT_TRUE(kxDynamicTypeCustom(custom, "count").read(count));
    EXPECT_EQ(count.getValue(), 300U);
}

TEST(kxDynamicType, BrokenBytesGiveTheNeutralValueAndAWarning)
{
    const std::string huge = countText((1ULL << 63) - 1);
    const std::string zero(1, '\0');
    const std::tuple<const char*, const char*, std::string> cases[] = {
        {"no count", "array", ""},
        {"a count without items", "chain", "\x02"},
        {"a count beyond all memory", "array", huge},
        {"more bytes than items", "array", zero + "x"},
        {"an item without a type", "array", "\x01" + item("", "")},
        {"an item larger than what is left", "array", "\x01num" + zero + "\x02\x05"},
        {"a name without an end", "cont", "\x01name"},
        {"a name that is too long", "cont", "\x01" + std::string(65536, 'n') + zero + item("num", "\x05")},
        {"a broken value inside", "cont", "\x01n" + zero + item("array", "\x05")},
        {"an object inside", "array", "\x01" + item("ref", "12345678")},
        {"an object as a fake attachment", "ttag", item("ref", "12345678") + "12345678"},
        {"levels beyond the most", "array", nested(65)},
        {"a tag without its time", "ttag", item("num", "\x05") + "1234567"},
        {"no value with bytes", "array", "\x01" + item("void", "x")},
        {"a text without an end", "error", "1234why"},
        {"more than a text", "error", "1234why" + zero + "x"},
    };
    for (const auto& [why, typeName, bytes] : cases) {
        SCOPED_TRACE(why);
        kxMessageRecorder recorder(KX_MESSAGE_WARNING);
        const kxDynamicType found = rebuilt(made(typeName, bytes));
        EXPECT_EQ(bytesOf(found), found.isType(KX_UNIQUE_ERROR)  ? std::string(5, '\0')
                                  : found.isType(KX_UNIQUE_TTAG) ? item("void", "") + std::string(8, '\0')
                                                                 : zero);
        ASSERT_EQ(recorder.entries().size(), 1U);
        EXPECT_TRUE(recorder.entries()[0].text.starts_with("Corrupt Stream in kxDynamicType"));
    }
    EXPECT_EQ(bytesOf(rebuilt(made("array", nested(64)))), nested(64)) << "the most";

    kxMessageRecorder recorder;
    EXPECT_EQ(made("num", "abc").toNumber(), 0);
    EXPECT_EQ(made("vec3", "short").toVec3(), kxVec3());
    EXPECT_EQ(made("ptr", "short").toPointer(), nullptr);
    EXPECT_EQ(made("llnum", "123456789").toInt64(), 0);
    EXPECT_EQ(made("guid", std::string(20, 'g')).toGUID(), kxGUID());
    EXPECT_EQ(made("void", "some"), kxDynamicType());
    EXPECT_EQ(recorder.texts(), Texts(6, "Corrupt Stream in kxDynamicType!!"));
}

TEST(kxSerializeDynamicType, BrokenStreamsGiveVoidAndAWarning)
{
    const std::string name("num\0", 4);
    for (const std::string& stream : {
             std::string(),                          // nothing
             std::string(1, '\0'),                   // no type
             name,                                   // no size
             name + "\x80",                          // half a size
             name + std::string(12, '\xFF'),         // a size without end
             name + countText(1ULL << 32),           // a size above 32 bits
             name + countText(0xFFFFFFFF) + "\x05",  // a size that no memory holds
             item("ref", "12345678"),                // an object
         }) {
        kxMessageRecorder recorder;
        kxSerializeDynamicType found(kxDynamicType(1));
        found.read(*kxTestInput(stream));
        EXPECT_EQ(found.getValue(), kxDynamicType());
        EXPECT_EQ(recorder.texts(), Texts{"Corrupt Stream in kxDynamicType!!"});
    }
}
