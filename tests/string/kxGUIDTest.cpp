#include "kxbase/string/kxGUID.h"
#include "support/kxTest.h"

#include <unordered_set>

TEST(kxGUID, ReadsItsTextAndSaysWhichGroupIsWrong)
{
    constexpr kxGUID kGuid(0x0123ABCD, 0x45EF, 0x6789, {0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10});
    using Texts = std::vector<std::string>;
    // The faults in the order of the groups, "#" for "?", which would make trigraphs; the first one is none.
    const std::string faults[] = {"",
                                  "{########-XXXX-XXXX-XXXX-XXXXXXXXXXXX}",
                                  "{XXXXXXXX-####-XXXX-XXXX-XXXXXXXXXXXX}",
                                  "{XXXXXXXX-XXXX-####-XXXX-XXXXXXXXXXXX}",
                                  "{XXXXXXXX-XXXX-XXXX-####-############}",
                                  "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}"};
    constexpr int kShape = 5;
    const struct {
        const char* why;
        std::string text;
        int fault;
    } cases[] = {
        {"as written", "{0123ABCD-45EF-6789-FEDC-BA9876543210}", 0},
        {"lower case", "{0123abcd-45ef-6789-fedc-ba9876543210}", 0},
        {"no braces", "0123ABCD-45EF-6789-FEDC-BA9876543210", 0},
        {"one brace in front", "{0123ABCD-45EF-6789-FEDC-BA9876543210", kShape},
        {"empty", "", kShape},
        {"first dash", "0123ABCD045EF-6789-FEDC-BA9876543210", kShape},
        {"the first group, though all are wrong", "{G123ABCD-+5EF- 789-0xDC-BA987654321g}", 1},
        {"second group", "{0123ABCD-45E -6789-FEDC-BA9876543210}", 2},
        {"third group", "{0123ABCD-45EF-67\xB9/-FEDC-BA9876543210}", 3},
        {"fourth group", "{0123ABCD-45EF-6789-FE@C-BA9876543210}", 4},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const kxMessageRecorder recorder(KX_MESSAGE_WARNING);
        EXPECT_EQ(kxGUID(c.text), c.fault == 0 ? kGuid : kxGUID());
        EXPECT_EQ(kxGUID::hasShape(c.text), c.text.size() == 38 && c.fault != kShape);
        std::string expected = "Malformed kxGUID " + faults[c.fault];
        std::replace(expected.begin(), expected.end(), '#', '?');
        EXPECT_EQ(recorder.texts(), c.fault == 0 ? Texts() : Texts{expected});
    }
    const kxMessageRecorder recorder(KX_MESSAGE_WARNING);
    EXPECT_EQ(kxGUID(cases[0].text.c_str()), kGuid) << "counted up to its zero";
    EXPECT_EQ(kxGUID("{0123ABCD-45EF-6789-FEDC-BA9876543210}}", 38), kGuid) << "a given length holds";
    EXPECT_EQ(recorder.entries().size(), 0U);
    EXPECT_TRUE(kxGUID(nullptr, 0).isNull() && kxGUID(std::string(70000, '0').c_str()).isNull());
    EXPECT_EQ(recorder.entries().size(), 2U);
}

TEST(kxGUID, WritesOrdersAndHashesAllItsBits)
{
    EXPECT_EQ(kxGUID().toString(), "{00000000-0000-0000-0000-000000000000}");
    // One bit each: texts and hashes tell all of them apart, and the order is that of the texts.
    std::map<kxGUID, std::string> ordered;
    std::unordered_set<std::size_t> hashes;
    for (std::size_t bit = 0; bit < 128; ++bit) {
        std::string text = kxGUID().toString().text();
        const std::size_t digit = bit / 4;
        text[1 + digit + (digit >= 8) + (digit >= 12) + (digit >= 16) + (digit >= 20)] = "8421"[bit % 4];
        const kxGUID guid(text);
        EXPECT_EQ(guid.toString(), text.c_str());
        ordered[guid] = text;
        hashes.insert(std::hash<kxGUID>()(guid));
    }
    EXPECT_EQ(hashes.size(), 128U);
    const auto isLess = [](const auto& left, const auto& right) { return left.second < right.second; };
    EXPECT_TRUE(ordered.size() == 128 && std::is_sorted(ordered.begin(), ordered.end(), isLess));

    std::unordered_set<kxGUID> random;
    for (int count = 0; count < 100; ++count) {
        const kxGUID guid = kxGUID::random();
        EXPECT_TRUE(guid.data3 >> 12 == 4 && guid.data4[0] >> 6 == 2 && random.insert(guid).second);
    }
}
