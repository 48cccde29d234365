#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxReference.h"

#include <gtest/gtest.h>

#include <set>
#include <unordered_set>

// Stand-ins for two listed classes and one that the tree does not name.
class kxUserData : public kxReference {
public:
    const kxType& getType() const override { return kxTypeTable::find("kxUserData"); }
};
class kxObject : public kxUserData {
public:
    const kxType& getType() const override { return kxTypeTable::find("kxObject"); }
};

namespace {

class Unlisted : public kxUserData {};

// Declared only; pointers to it can be members and be moved about by those who know it.
struct Unknown;
struct Holder {
    Holder();
    ~Holder();
    kxRefPointer<Unknown> pointer;
};

TEST(kxRefPointer, CountsEveryWayToHoldAnObject)
{
    auto* const object = new kxObject;
    const kxRefPointer<kxObject> first(object);
    {
        kxRefPointer<kxObject> copy(first);
        kxRefPointer<const kxReference> base(copy);
        EXPECT_EQ(object->getReferenceCount(), 3U);
        kxRefPointer<kxUserData> moved(std::move(copy));
        EXPECT_EQ(object->getReferenceCount(), 3U);
        EXPECT_EQ(copy.get(), nullptr);  // NOLINT: what is left behind is the point
        base = std::move(moved);
        EXPECT_EQ(object->getReferenceCount(), 2U);
        base = nullptr;
        base = object;
        base = first;
        EXPECT_EQ(object->getReferenceCount(), 2U);
    }
    EXPECT_EQ(object->getReferenceCount(), 1U);
}

TEST(kxRefPointer, AssigningItselfKeepsTheObject)
{
    kxRefPointer<kxObject> pointer = kxMakeRef<kxObject>();
    auto& same = pointer;
    pointer = same;
    pointer = pointer.get();
    pointer = std::move(same);
    ASSERT_NE(pointer, nullptr);
    EXPECT_EQ(pointer->getReferenceCount(), 1U);
}

struct Ring : kxReference {
    kxRefPointer<Ring> next;
};

TEST(kxRefPointer, TakesTheNewObjectBeforeItDropsTheOld)
{
    auto head = kxMakeRef<Ring>();
    head->next = kxMakeRef<Ring>();
    Ring* const second = head->next.get();
    head = head->next;  // the first object goes and with it the only other reference to the second
    EXPECT_EQ(head, second);
    EXPECT_EQ(second->getReferenceCount(), 1U);
}

TEST(kxRefPointer, CastsByDescriptor)
{
    const kxRefPointer<kxReference> object = kxMakeRef<kxObject>();
    const kxRefPointer<kxReference> data = kxMakeRef<kxUserData>();
    const kxRefPointer<kxReference> unlisted = kxMakeRef<Unlisted>();
    EXPECT_EQ(object.dynamicCast<kxObject>(), object);
    EXPECT_EQ(object.dynamicCast<kxUserData>(), object);
    EXPECT_EQ(data.dynamicCast<kxObject>(), nullptr);
    EXPECT_EQ(unlisted.dynamicCast<kxUserData>(), unlisted);
    EXPECT_EQ(unlisted.dynamicCast<kxObject>(), nullptr);
    EXPECT_EQ(kxRefPointer<kxReference>().dynamicCast<kxObject>(), nullptr);
    EXPECT_EQ(object.staticCast<kxObject>()->getReferenceCount(), 2U);
}

TEST(kxRefPointer, OrdersAndHashesByAddress)
{
    const auto first = kxMakeRef<kxObject>();
    const auto second = kxMakeRef<kxObject>();
    EXPECT_EQ(first < second, first.get() < second.get());
    EXPECT_EQ((std::set<kxRefPointer<kxObject>>{first, second, first}.size()), 2U);
    EXPECT_EQ((std::unordered_set<kxRefPointer<kxObject>>{first, second, second}.size()), 2U);
    EXPECT_TRUE(first && !kxRefPointer<kxObject>());
}

struct Unknown : kxReference {};
Holder::Holder() : pointer(new Unknown) {}
Holder::~Holder() = default;

TEST(kxRefPointer, HoldsAClassThatIsOnlyDeclared)
{
    EXPECT_EQ(Holder().pointer->getReferenceCount(), 1U);
}

}  // namespace
