#include "kxbase/string/kxGUID.h"

#include "support/kxMessageRecorder.h"

#include <gtest/gtest.h>

#include <set>
#include <unordered_set>

namespace {

using Texts = std::vector<std::string>;
constexpr const char* kText = "{0123ABCD-45EF-6789-FEDC-BA9876543210}";
constexpr kxGUID kGuid(0x0123ABCD, 0x45EF, 0x6789, {0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10});

}  // namespace

TEST(kxGUID, ReadsItsTextAndSaysWhichGroupIsWrong)
{
    const std::string malformed = "Malformed kxGUID ";
    const std::string shape = malformed + "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}";
    const std::string first = malformed + "{????????"
                                          "-XXXX-XXXX-XXXX-XXXXXXXXXXXX}";
    const std::string last = malformed + "{XXXXXXXX-XXXX-XXXX-????"
                                         "-????????????}";
    const struct {
        const char* why;
        std::string text;
        std::string warning;
    } cases[] = {
        {"as written", kText, ""},
        {"lower case", "{0123abcd-45ef-6789-fedc-ba9876543210}", ""},
        {"no braces", "0123ABCD-45EF-6789-FEDC-BA9876543210", ""},
        {"one brace in front", "{0123ABCD-45EF-6789-FEDC-BA9876543210", shape},
        {"one brace behind", "0123ABCD-45EF-6789-FEDC-BA9876543210}", shape},
        {"braces around too little", "{0123ABCD-45EF-6789-FEDC-BA98765432}", shape},
        {"other brackets", "(0123ABCD-45EF-6789-FEDC-BA9876543210)", shape},
        {"empty", "", shape},
        {"a digit too many", "0123ABCD-45EF-6789-FEDC-BA98765432100", shape},
        {"first dash", "0123ABCD045EF-6789-FEDC-BA9876543210", shape},
        {"second dash", "0123ABCD-45EF+6789-FEDC-BA9876543210", shape},
        {"third dash", "0123ABCD-45EF-6789 FEDC-BA9876543210", shape},
        {"fourth dash", "0123ABCD-45EF-6789-FEDC_BA9876543210", shape},
        {"first group, though all are wrong", "{G123ABCD-+5EF- 789-0xDC-BA987654321g}", first},
        {"second group", "{0123ABCD-45E -6789-FEDC-BA9876543210}",
         malformed + "{XXXXXXXX-????"
                     "-XXXX-XXXX-XXXXXXXXXXXX}"},
        {"third group",
         "{0123ABCD-45EF-67\xB9"
         "9-FEDC-BA9876543210}",
         malformed + "{XXXXXXXX-XXXX-????"
                     "-XXXX-XXXXXXXXXXXX}"},
        {"fourth group", "{0123ABCD-45EF-6789-FE@C-BA9876543210}", last},
        {"fifth group", "{0123ABCD-45EF-6789-FEDC-BA987654321g}", last},
        {"a zero byte is no digit", kText + std::string("\0", 1), shape},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        kxMessageRecorder recorder(KX_MESSAGE_WARNING);
        EXPECT_EQ(kxGUID(c.text), c.warning.empty() ? kGuid : kxGUID());
        EXPECT_EQ(recorder.texts(), c.warning.empty() ? Texts() : Texts{c.warning});
        EXPECT_EQ(kxGUID::hasShape(c.text), c.text.size() == 38 && c.warning != shape);
    }
    kxMessageRecorder recorder(KX_MESSAGE_WARNING);
    EXPECT_EQ(kxGUID(kText), kGuid) << "counted up to its zero";
    EXPECT_EQ(kxGUID("{0123ABCD-45EF-6789-FEDC-BA9876543210}}", 38), kGuid) << "a given length holds";
    EXPECT_EQ(recorder.entries().size(), 0U);
    EXPECT_TRUE(kxGUID(static_cast<const char*>(nullptr)).isNull());
    EXPECT_TRUE(kxGUID(std::string(70000, '0').c_str()).isNull());
    EXPECT_EQ(recorder.texts(), Texts({shape, shape}));
}

TEST(kxGUID, WritesOrdersAndHashesAllItsBits)
{
    EXPECT_EQ(kGuid.toString(), kText);
    EXPECT_EQ(kxGUID().toString(), "{00000000-0000-0000-0000-000000000000}");
    // One bit each: texts, order and hashes tell all of them apart.
    std::set<kxGUID> ordered;
    std::set<kxString> texts;
    std::unordered_set<std::size_t> hashes;
    for (std::size_t bit = 0; bit < 128; ++bit) {
        std::string text = kxGUID().toString().text();
        const std::size_t digit = bit / 4;
        const std::size_t dashes = (digit >= 8) + (digit >= 12) + (digit >= 16) + (digit >= 20);
        text[1 + digit + dashes] = "8421"[bit % 4];
        const kxGUID guid(text);
        EXPECT_EQ(guid.toString(), text.c_str());
        ordered.insert(guid);
        texts.insert(guid.toString());
        hashes.insert(std::hash<kxGUID>()(guid));
    }
    EXPECT_EQ(hashes.size(), 128U);
    EXPECT_TRUE(std::equal(ordered.begin(), ordered.end(), texts.begin(), texts.end(),
                           [](const kxGUID& guid, const kxString& text) { return guid.toString() == text; }));
}

TEST(kxGUID, RandomOnesCarryTheirVersionAndDiffer)
{
    std::unordered_set<kxGUID> guids;
    kxGUID all(0xFFFFFFFF, 0xFFFF, 0xFFFF, {255, 255, 255, 255, 255, 255, 255, 255});
    for (int index = 0; index < 200; ++index) {
        const kxGUID guid = kxGUID::random();
        EXPECT_EQ(guid.data3 >> 12, 4);
        EXPECT_EQ(guid.data4[0] >> 6, 2);
        EXPECT_TRUE(guids.insert(guid).second);
        all.data1 &= guid.data1;
        all.data4[7] &= guid.data4[7];
    }
    EXPECT_EQ(all.data1 + all.data4[7], 0U) << "no bit always stands";
}
