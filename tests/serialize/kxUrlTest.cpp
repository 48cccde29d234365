#include "kxbase/serialize/kxUrl.h"
#include "kxbase/serialize/kxUrlOptions.h"
#include "support/kxTest.h"

TEST(kxUrl, IsTakenApartAtItsSeparators)
{
    // URL, scheme, address, name, options
    const char* const cases[][5] = {
        {"", "", "", "", ""},
        {"a/b", "", "a/", "b", ""},
        {"udp::45455?nic=1&echo", "udp:", ":45455", "", "nic=1&echo"},
        {"file:/a/b/c", "file:", "/a/b/", "c", ""},
        {"file:a/", "file:", "a/", "", ""},
        {"a\\b:c\\d\\e", "a\\b:", "c/d/", "e", ""},
        {"file:a?b?c=d", "file:", "a?b", "", "c=d"},
        {"file:a?b?", "file:", "a?b", "", ""},
        {"x:a?b=/c/d", "x:", "a", "", "b=/c/d"},
        {"?a:b", "?a:", "b", "", ""},
    };
    for (const auto& [text, scheme, address, name, options] : cases) {
        const kxUrl url{kxString(text)};
        EXPECT_TRUE(url.scheme == scheme && url.address == address && url.name == name) << text;
        EXPECT_EQ(url.options, options) << text;
    }
}

TEST(kxUrlOptions, TheFirstItemWithTheKeyCounts)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"none", "", "default"},
        {"behind the escaped separator", "b=2&amp;c=3&amp;a=1", "1"},
        {"no part of that stays", "a=1&amp;b=2", "1"},
        {"the first one", "a=1&a=2", "1"},
        {"the first equals sign", "a=b=c", "b=c"},
        {"nothing is a value", "a=", ""},
        {"bare", "x&a&y", "true"},
        {"not the start of a key", "ab=1&a=2", "2"},
        {"case", "A=1", "default"},
        {"empty items", "&&a=1&", "1"},
    };
    for (const auto& [why, options, expected] : cases) {
        EXPECT_EQ(kxUrlOptions(options).getText("a", "default"), expected) << why;
        EXPECT_EQ(kxUrlOptions(options).has("a"), std::string_view("default") != expected) << why;
    }
    const kxUrlOptions options("y=yes&t=tRUE&n=NO&f=false&one=1&yess=yess&bare&d=-2.5e1&i=9007199254740993&"
                               "late=5ms&early= 5&hex=0x10&empty=");
    for (const bool otherwise : {false, true}) {
        for (const char* key : {"y", "t", "bare"}) EXPECT_TRUE(options.getBool(key, otherwise)) << key;
        for (const char* key : {"n", "f"}) EXPECT_FALSE(options.getBool(key, otherwise)) << key;
        for (const char* key : {"one", "yess", "empty", ""})
            EXPECT_EQ(options.getBool(key, otherwise), otherwise) << key;
    }
    EXPECT_TRUE(options.getNumber("d", 7) == -25 && options.getInteger("i", 7) == 9007199254740993);
    for (const char* key : {"late", "early", "hex", "empty", "bare", "none"}) {
        EXPECT_TRUE(options.getNumber(key, 7.5) == 7.5 && options.getInteger(key, 7) == 7) << key;
    }
}
