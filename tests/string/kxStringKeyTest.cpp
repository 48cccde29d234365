#include "kxbase/containers/kxDict.h"
#include "kxbase/string/kxStringCompareInterface.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(kxStringKey, ComparesEveryByteOfEveryLength)
{
    using Traits = kxStringCompareInterface;
    for (std::size_t length = 0; length <= 70; ++length) {
        std::string text(length, 'x');
        const kxString key(text);
        EXPECT_TRUE(Traits::isEqual(key, kxString(text)));
        EXPECT_EQ(Traits::fingerprint(key), Traits::fingerprint(kxString(text)));
        EXPECT_FALSE(Traits::isEqual(key, kxString(text + 'x')));
        for (char& character : text) {
            character = 'y';
            EXPECT_FALSE(Traits::isEqual(key, kxString(text))) << length;
            character = 'x';
        }
    }
}

// These names share few hashes, so that most lookups pass other keys of the same hash.
TEST(kxStringKey, NumberedNamesAreAllFound)
{
    kxDict<kxString, const int, kxStringCompareInterface> dict;
    static const int values[3000] = {};
    const auto name = [](int number) { return kxString("item" + std::to_string(number)); };
    for (int number = 0; number < 3000; ++number) dict.insert(name(number), &values[number]);
    for (int number = 0; number < 3000; number += 2) EXPECT_EQ(dict.remove(name(number)), &values[number]);
    for (int number = 0; number < 3000; ++number)
        EXPECT_EQ(dict.find(name(number)), number % 2 != 0 ? &values[number] : nullptr);
}

}  // namespace
