#include "kxbase/containers/kxRefDict.h"
#include "kxbase/containers/kxRefList.h"
#include "kxbase/object/kxThreadSafeReference.h"
#include "tests/support/kxFatalText.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

// Sends the miscount of an object through a destructor while another exception passes.
template <typename Holder> void dropWhileThrowing(void (*hold)(Holder&, kxThreadSafeReference&))
{
    kxThreadSafeReference object;
    Holder holder;
    hold(holder, object);
    object.unrefWithoutDelete();
    throw std::runtime_error("first");
}

TEST(kxReferenceFaults, AMiscountFoundWhileAnotherExceptionPassesIsAMessage)
{
    using Object = kxThreadSafeReference;
    using Dict = kxRefDict<std::uint32_t, Object, kxUInt32CompareInterface>;
    EXPECT_THROW(dropWhileThrowing<kxRefPointer<Object>>([](auto& p, Object& o) { p = &o; }),
                 std::runtime_error);
    EXPECT_THROW(dropWhileThrowing<kxRefList<Object>>([](auto& l, Object& o) { l.append(&o); }),
                 std::runtime_error);
    EXPECT_THROW(dropWhileThrowing<Dict>([](Dict& d, Object& o) { d.insert(1, &o); }), std::runtime_error);
}

template <typename Base> struct Full : Base {
    Full() { this->referenceCount_ = 0xFFFFFFFFU; }
    ~Full() override { this->referenceCount_ = 0; }
};

TEST(kxReferenceFaults, AFullCountDoesNotStartAgain)
{
    const char* const text = "REFERENCE MISMATCH ! Too many references to an object";
    EXPECT_EQ(kxFatalText([] { Full<kxReference>().ref(); }), text);
    EXPECT_EQ(kxFatalText([] { Full<kxThreadSafeReference>().ref(); }), text);
}

struct Child : kxReference {
    explicit Child(int& alive) : alive_(&alive) { ++*alive_; }
    ~Child() override { --*alive_; }
    int* alive_;
    kxRefPointer<kxReference> next;
};

TEST(kxReferenceFaults, DeletingAReferencedObjectLeavesItWhole)
{
    int alive = 0;
    {
        const kxRefPointer<Child> pointer(new Child(alive));
        EXPECT_THROW(delete static_cast<kxReference*>(pointer.get()), kxFatalError);
        EXPECT_EQ(alive, 1);
        EXPECT_EQ(pointer->getReferenceCount(), 1U);
    }
    EXPECT_EQ(alive, 0);
}

TEST(kxReferenceFaults, WhatADestructorReleasesIsGoneWhenTheReleaseReturns)
{
    struct Owner : kxReference {
        explicit Owner(int& living) : alive(living) {}
        ~Owner() override
        {
            child = nullptr;
            EXPECT_EQ(alive, 0);
        }
        int& alive;
        kxRefPointer<Child> child;
    };
    int alive = 0, links = 0;
    auto owner = kxMakeRef<Owner>(alive);
    owner->child = kxMakeRef<Child>(alive);
    kxRefPointer<kxReference> head = owner;
    owner = nullptr;
    for (int depth = 0; depth < 200; ++depth) {
        auto link = kxMakeRef<Child>(links);
        link->next = head;
        head = link;
    }
    head = nullptr;
    EXPECT_EQ(links, 0);
}

TEST(kxReferenceFaults, TheLastReleaseAsksTheOverride)
{
    struct Kept : kxThreadSafeReference {
        bool deleteIfUnreferenced() const override
        {
            return !isKept && kxThreadSafeReference::deleteIfUnreferenced();
        }
        bool isKept = true;
    };
    auto* const object = new Kept;
    static_cast<void>(kxRefPointer<Kept>{object});
    ASSERT_EQ(object->getReferenceCount(), 0U);
    object->isKept = false;
    EXPECT_TRUE(object->deleteIfUnreferenced());
}

}  // namespace
