#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxThreadSafeReference.h"
#include "tests/support/kxFatalText.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr const char* kUnref = "REFERENCE MISMATCH ! Unref an object with zero reference count.";
constexpr const char* kRefrence = "REFRENCE MISMATCH ! Unref an object with zero reference count.";
constexpr const char* kDeleted =
    "REFERENCE MISMATCH ! Deleted referenced object with nonzero reference count";

template <typename Base> class Counted : public Base {
public:
    explicit Counted(std::atomic<int>& alive) : alive_(&alive) { ++*alive_; }
    Counted(const Counted& other) : Base(other), alive_(other.alive_) { ++*alive_; }
    Counted& operator=(const Counted&) = default;
    ~Counted() override { --*alive_; }

private:
    std::atomic<int>* alive_;
};
using Plain = Counted<kxReference>;
using Shared = Counted<kxThreadSafeReference>;

TEST(kxReference, MismatchesAreFatalWithTheirOwnTexts)
{
    const struct {
        const char* why;
        std::function<void()> mistake;
        const char* expected;
    } cases[] = {
        {"plain unref of a fresh object", [] { kxReference().unref(); }, kUnref},
        {"thread-safe unref has the other spelling", [] { kxThreadSafeReference().unref(); }, kRefrence},
        {"without delete, plain", [] { kxReference().unrefWithoutDelete(); }, kRefrence},
        {"without delete, thread-safe", [] { kxThreadSafeReference().unrefWithoutDelete(); }, kRefrence},
        {"deleted while referenced",
         [] {
             const kxRefPointer<kxReference> pointer(new kxReference);
             delete pointer.get();
         },
         kDeleted},
        {"thread-safe object deleted while referenced",
         [] {
             kxThreadSafeReference object;
             object.ref();
         },
         kDeleted},
        {"a pointer whose reference somebody else dropped",
         [] {
             kxReference object;
             const kxRefPointer<kxReference> pointer(&object);
             object.unrefWithoutDelete();
         },
         kUnref},
        {"no clone of its own", [] { static_cast<void>(kxThreadSafeReference().clone()); },
         "Unimplemented clone called for type 'kxReference'"},
    };
    for (const auto& c : cases) EXPECT_EQ(kxFatalText(c.mistake), c.expected) << c.why;
}

TEST(kxReference, MismatchWhileAnotherExceptionPassesDoesNotEndTheProgram)
{
    const auto code = [] {
        kxReference object;
        object.ref();
        throw std::runtime_error("first");
    };
    EXPECT_THROW(code(), std::runtime_error);
}

template <typename T> class EitherReference : public testing::Test {};
using Kinds = testing::Types<Plain, Shared>;
TYPED_TEST_SUITE(EitherReference, Kinds);

TYPED_TEST(EitherReference, CountDecidesOverLife)
{
    std::atomic<int> alive = 0;
    auto* const object = new TypeParam(alive);
    EXPECT_EQ(object->getReferenceCount(), 0U);
    object->ref();
    object->ref();
    EXPECT_FALSE(object->deleteIfUnreferenced());
    EXPECT_EQ(object->unrefWithoutDelete(), 1U);
    EXPECT_EQ(object->unrefWithoutDelete(), 0U);
    EXPECT_EQ(alive, 1);
    EXPECT_TRUE(object->deleteIfUnreferenced());
    EXPECT_EQ(alive, 0);
    auto* const other = new TypeParam(alive);
    other->ref();
    other->unref();
    EXPECT_EQ(alive, 0);
}

TYPED_TEST(EitherReference, CopiesStartFreshAndAssignmentKeepsBothSides)
{
    std::atomic<int> alive = 0;
    const kxRefPointer<TypeParam> first(new TypeParam(alive));
    const std::uint32_t tag = 7;
    EXPECT_TRUE(first->isTagClear());
    EXPECT_EQ(first->setTag(tag), 7U);
    const kxRefPointer<TypeParam> copy(new TypeParam(*first));
    EXPECT_TRUE(copy->isTagClear());
    EXPECT_EQ(copy->getReferenceCount(), 1U);
    *copy = *first;
    EXPECT_TRUE(copy->isTagClear());
    EXPECT_FALSE(first->isTagClear());
    EXPECT_EQ(copy->getReferenceCount(), 1U);
}

// The steps of two threads in the order that does the harm: the first has brought the count to 0 and not yet
// looked whether the object may go, when the second takes a reference and drops it again.
TEST(kxThreadSafeReference, IsDestroyedByTheLastToLook)
{
    struct Stepwise : Shared {
        using Shared::destroyIfLast;
        using Shared::release;
        using Shared::Shared;
    };
    std::atomic<int> alive = 0;
    auto* const object = new Stepwise(alive);
    object->ref();
    EXPECT_EQ(object->release(true), 0U);
    object->ref();
    object->unref();
    ASSERT_EQ(alive, 1) << "the first is still to look, and needs the mutex";
    EXPECT_FALSE(object->deleteIfUnreferenced());
    EXPECT_TRUE(object->destroyIfLast(true));
    EXPECT_EQ(alive, 0);
}

TEST(kxThreadSafeReference, IsDestroyedOnceByThreadsThatRelease)
{
    std::atomic<int> alive = 0;
    for (int round = 0; round < 100; ++round) {
        const kxRefPointer<Shared> keeper(new Shared(alive));
        auto* const object = new Shared(alive);
        object->ref();
        object->ref();
        const auto work = [object] {
            for (int turn = 0; turn < 20; ++turn) {
                const kxRefPointer<Shared> mine(object);
                const kxRefPointer<Shared> again(mine);
            }
            object->unref();
        };
        std::thread other(work);
        work();
        other.join();
        ASSERT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}

struct Chained : kxThreadSafeReference {
    kxRefPointer<Chained> next;
    kxRefPointer<Chained> side;
};

TEST(kxReference, LongChainsNeedNoDeepStack)
{
    kxRefPointer<Chained> head;
    for (int count = 0; count < 1'000'000; ++count) {
        auto link = kxMakeRef<Chained>();
        if (count % 1000 == 0) link->side = kxMakeRef<Chained>();
        link->next = std::move(head);
        head = std::move(link);
    }
    const kxRefPointer<Chained> last = kxMakeRef<Chained>();
    head->side = last;
    head = nullptr;
    EXPECT_EQ(last->getReferenceCount(), 1U);
}

TEST(kxReference, AFatalErrorInAChainLeavesTheRestForTheNextRelease)
{
    std::atomic<int> alive = 0;
    struct Faulty : Plain {
        using Plain::Plain;
        kxRefPointer<kxReference> next;
        bool isMiscounted = false;
        ~Faulty() override
        {
            if (isMiscounted) ref();
        }
    };
    kxRefPointer<Faulty> head;
    for (int count = 0; count < 200; ++count) {
        auto link = kxMakeRef<Faulty>(alive);
        link->isMiscounted = count == 100;
        link->next = head;
        head = link;
    }
    EXPECT_EQ(kxFatalText([&head] { head = nullptr; }), kDeleted);
    kxMakeRef<Plain>(alive);
    EXPECT_EQ(alive, 0);
}

}  // namespace
