#include "kxbase/object/kxTypeTable.h"
#include "support/kxTest.h"

#include <cstring>

class kxSocket;

namespace {

// Usable while statics are being built, whichever unit comes first.
const std::string nameBeforeMain = kxTypeTable::find("kxXmlCustomData").parent()->parent()->parent()->name();

TEST(kxType, CopiesOwnNothingAndNamesAreCut)
{
    const kxType& root = kxTypeTable::find("kxReference");
    kxType first(&root, "first"), second(&first, std::string(300, 'n').c_str());
    EXPECT_EQ(std::strlen(second.name()), 255U);
    const kxType copy(first);
    first = copy;   // its own name comes back and must not be freed under both
    second = copy;  // frees the long name; the sanitizer would see it twice or never
    EXPECT_TRUE(second.name() == first.name() && second.parent() == &root && copy.name() == first.name());
    EXPECT_STREQ(copy.name(), "first");
}

TEST(kxType, KindFollowsParentsAndComparesNames)
{
    const kxType otherModule(nullptr, "kxUserData"), own(&kxTypeTable::find("kxObject"), "kxOwn");
    EXPECT_TRUE(own.isKindOf(own) && own.isKindOf(kxTypeTable::find("kxUserData")));
    EXPECT_TRUE(own.isKindOf(otherModule)) << "the same name in another module";
    EXPECT_FALSE(kxTypeTable::find("kxObject").isKindOf(own)) << "a child is no ancestor";
    EXPECT_EQ(nameBeforeMain, "kxReference");
    EXPECT_STREQ(kxTypeTable::find("kxSerializeAdapterString").parent()->name(), "kxSerializeAdapterQueue");
    static_assert(&kxTypeTable::of<const kxSocket>() == &kxTypeTable::find("kxSocket"));
}

}  // namespace
