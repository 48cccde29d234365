#include "kxbase/object/kxTypeTable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

class kxXmlPI;
class kxSocket;

namespace {

// Usable while statics are being built, whichever unit comes first.
const std::string nameBeforeMain = kxTypeTable::find("kxXmlCustomData").parent()->parent()->parent()->name();

TEST(kxType, CopiesOwnNothingAndNamesAreCut)
{
    const kxType& root = kxTypeTable::find("kxReference");
    auto first = std::make_unique<kxType>(&root, "first");
    const std::string longName(300, 'n');
    kxType second(first.get(), longName.c_str());
    EXPECT_EQ(std::strlen(second.name()), 255U);

    const kxType copy(*first);
    EXPECT_EQ(copy.name(), first->name());
    EXPECT_EQ(copy.parent(), &root);
    *first = copy;  // its own name comes back and must not be freed under both
    EXPECT_STREQ(copy.name(), "first");
    second = *first;  // frees the long name; the sanitizer would see it twice or never
    EXPECT_EQ(second.name(), copy.name());
    EXPECT_STREQ(kxType(nullptr, nullptr).name(), "");
}

TEST(kxType, KindFollowsParentsAndComparesNames)
{
    const kxType otherModule(nullptr, "kxUserData");
    const kxType own(&kxTypeTable::find("kxObject"), "kxOwn");
    const struct {
        const char* why;
        const kxType& type;
        const kxType& asked;
        bool expected;
    } cases[] = {
        {"itself", own, own, true},
        {"grandparent", own, kxTypeTable::find("kxUserData"), true},
        {"the same name in another module", own, otherModule, true},
        {"a child is no ancestor", kxTypeTable::find("kxObject"), own, false},
        {"a sibling", own, kxTypeTable::find("kxUserDataAttributeContainer"), false},
        {"another root", own, kxTypeTable::find("kxSocket"), false},
    };
    for (const auto& c : cases) EXPECT_EQ(c.type.isKindOf(c.asked), c.expected) << c.why;
}

TEST(kxTypeTable, HoldsTheWholeTree)
{
    EXPECT_EQ(nameBeforeMain, "kxReference");
    EXPECT_EQ(kxTypeTree::kCount, 46U);
    EXPECT_EQ(kxTypeTable::find("kxSocket").parent(), nullptr);
    EXPECT_STREQ(kxTypeTable::find("kxSerializeAdapterString").parent()->name(), "kxSerializeAdapterQueue");
    EXPECT_STREQ(kxTypeTable::find("kxSerializeAdapterCache").parent()->name(), "kxSerializeAdapterMemory");
    static_assert(&kxTypeTable::of<const kxXmlPI>() == &kxTypeTable::find("kxXmlPI"));
    static_assert(&kxTypeTable::of<kxSocket>() == &kxTypeTable::find("kxSocket"));
}

}  // namespace
