#include "kxbase/object/kxRefHolder.h"
#include "kxbase/object/kxReference.h"
#include "support/kxTest.h"

#include <unordered_set>

// Stand-ins for two listed classes and one that the tree does not name.
class kxUserData : public kxReference {
public:
    const kxType& getType() const override { return kxTypeTable::find("kxUserData"); }
};
class kxObject : public kxUserData {
public:
    const kxType& getType() const override { return kxTypeTable::find("kxObject"); }
    kxRefPointer<kxObject> next;
};

namespace {

class Unlisted : public kxUserData {};

TEST(kxRefPointer, CountsEveryWayToHoldAnObject)
{
    const kxRefPointer<kxObject> first = kxMakeRef<kxObject>();
    kxRefPointer<kxObject> pointer(first), copy(first);
    kxRefPointer<const kxReference> base(first);
    kxRefPointer<kxUserData> moved(std::move(copy));
    EXPECT_EQ(first->getReferenceCount(), 4U);
    base = std::move(moved);
    base = nullptr;
    base = first.get();
    base = first;
    auto& same = pointer;
    pointer = same;
    pointer = pointer.get();
    pointer = std::move(same);
    EXPECT_EQ(first->getReferenceCount(), 3U);
    auto head = kxMakeRef<kxObject>();
    head->next = kxMakeRef<kxObject>();
    head = head->next;  // the first object goes and with it the only other reference to the second
    EXPECT_EQ(head->getReferenceCount(), 1U);
}

// Counts how often it is referenced.
struct Watched : kxReference {
    void ref() const override { ++references, kxReference::ref(); }
    static inline int references = 0;
};

TEST(kxRefHolder, IsMovedByTheStandardLibraryAndTellsOfMiscounts)
{
    const kxMessageRecorder messages;
    std::vector<kxRefHolder<Watched>> objects;
    for (int count = 0; count < 100; ++count) objects.push_back(kxMakeRef<Watched>());
    EXPECT_EQ(Watched::references, 100);
    std::thread([holder = std::move(objects.back())] { EXPECT_EQ(holder->getReferenceCount(), 1U); }).join();
    objects.pop_back();
    Watched object;
    objects.emplace_back(&object);
    object.unrefWithoutDelete();
    objects.clear();
    EXPECT_EQ(messages.texts().size(), 1U) << "a miscount found by a destructor";
}

TEST(kxRefPointer, CastsByDescriptorAndComparesByAddress)
{
    const kxRefPointer<kxReference> object = kxMakeRef<kxObject>(), other = kxMakeRef<Unlisted>(), none;
    EXPECT_TRUE(object.dynamicCast<kxUserData>() == object && other.dynamicCast<kxUserData>() == other);
    EXPECT_FALSE(other.dynamicCast<kxObject>() || none.dynamicCast<kxObject>());
    EXPECT_EQ(object < other, object.get() < other.get());
    EXPECT_EQ((std::unordered_set<kxRefPointer<kxReference>>{object, other, object}.size()), 2U);
}

}  // namespace
