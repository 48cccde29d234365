#include "kxbase/serialize/kxUrl.h"
#include "kxbase/serialize/kxUrlOptions.h"

#include <gtest/gtest.h>

#include <limits>

TEST(kxUrl, IsTakenApartAtItsSeparators)
{
    const struct {
        const char* why;
        const char* url;
        const char *scheme, *address, *name, *options;
    } cases[] = {
        {"empty", "", "", "", "", ""},
        {"no colon is no scheme", "a/b", "", "a/", "b", ""},
        {"the first colon", "udp::45455?nic=127.0.0.1&blocking=no", "udp:", ":45455", "",
         "nic=127.0.0.1&blocking=no"},
        {"the last slash", "file:/a/b/c", "file:", "/a/b/", "c", ""},
        {"a slash at the end", "file:a/", "file:", "a/", "", ""},
        {"backslashes are slashes behind the scheme alone", "a\\b:c\\d\\e", "a\\b:", "c/d/", "e", ""},
        {"the last question mark", "file:a?b?c=d", "file:", "a?b", "", "c=d"},
        {"no options behind it", "file:a?b?", "file:", "a?b", "", ""},
        {"options keep their slashes", "x:a?b=/c/d", "x:", "a", "", "b=/c/d"},
        {"and their colons", "?a:b", "?a:", "b", "", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const kxUrl url{kxString(c.url)};
        EXPECT_EQ(url.scheme, c.scheme);
        EXPECT_EQ(url.address, c.address);
        EXPECT_EQ(url.name, c.name);
        EXPECT_EQ(url.options, c.options);
    }
}

TEST(kxUrlOptions, TheFirstItemWithTheKeyCounts)
{
    const struct {
        const char* why;
        const char *options, *key, *expected;
    } cases[] = {
        {"none", "", "a", "default"},
        {"an item of its own", "a=1&b=2", "b", "2"},
        {"the escaped separator", "a=1&amp;b=2&amp;c=3", "c", "3"},
        {"no part of it stays", "a=1&amp;b=2", "a", "1"},
        {"the first one", "a=1&a=2", "a", "1"},
        {"the first equals sign", "a=b=c", "a", "b=c"},
        {"nothing is a value", "a=", "a", ""},
        {"bare", "a", "a", "true"},
        {"bare among others", "x&a&y", "a", "true"},
        {"not the start of a key", "ab=1&a=2", "a", "2"},
        {"not a part of a value", "x=a=1", "a", "default"},
        {"case", "A=1", "a", "default"},
        {"empty items", "&&a=1&", "a", "1"},
        {"empty items are no key", "&&", "", "default"},
        {"no separator at all", "amp;a=1", "a", "default"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(kxUrlOptions(c.options).getText(c.key, "default"), c.expected);
        EXPECT_EQ(kxUrlOptions(c.options).has(c.key), std::string_view("default") != c.expected);
    }
}

TEST(kxUrlOptions, ReadsBooleansAndNumbersAsAWhole)
{
    const kxUrlOptions options("y=yes&t=tRUE&n=NO&f=false&one=1&yess=yess&bare&d=-2.5e1&i=9007199254740993&"
                               "late=5ms&early= 5&comma=1,5&hex=0x10&huge=1e300&empty=");
    for (const bool otherwise : {false, true}) {
        for (const char* key : {"y", "t", "bare"}) EXPECT_TRUE(options.getBool(key, otherwise)) << key;
        for (const char* key : {"n", "f"}) EXPECT_FALSE(options.getBool(key, otherwise)) << key;
        for (const char* key : {"one", "yess", "empty", "none"})
            EXPECT_EQ(options.getBool(key, otherwise), otherwise) << key;
    }
    EXPECT_EQ(options.getNumber("d", 7), -25.0);
    EXPECT_EQ(options.getInteger("d", 7), -25);
    EXPECT_EQ(options.getInteger("i", 7), 9007199254740993);
    EXPECT_EQ(options.getInteger("huge", 7), std::numeric_limits<std::int64_t>::max());
    for (const char* key : {"late", "early", "comma", "hex", "empty", "bare", "none"}) {
        EXPECT_EQ(options.getNumber(key, 7.5), 7.5) << key;
        EXPECT_EQ(options.getInteger(key, 7), 7) << key;
    }
}
