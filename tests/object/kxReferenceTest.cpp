#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxThreadSafeReference.h"
#include "support/kxTest.h"

namespace {

constexpr const char* kDeleted =
    "REFERENCE MISMATCH ! Deleted referenced object with nonzero reference count";

std::atomic<int> alive = 0;
template <typename Base> struct Counted : Base {
    Counted() { ++alive; }
    Counted(const Counted& other) : Base(other) { ++alive; }
    Counted& operator=(const Counted&) = default;
    ~Counted() override { --alive; }
};
using Shared = Counted<kxThreadSafeReference>;

TEST(kxReference, MismatchesAreFatalWithTheirOwnTexts)
{
    const std::string unref = "REFERENCE MISMATCH ! Unref an object with zero reference count.";
    const std::string refrence = "REFRENCE MISMATCH ! Unref an object with zero reference count.";
    EXPECT_EQ(kxFatalText([] { kxReference().unref(); }), unref);
    EXPECT_EQ(kxFatalText([] { kxThreadSafeReference().unref(); }), refrence);
    EXPECT_EQ(kxFatalText([] { kxReference().unrefWithoutDelete(); }), refrence);
    EXPECT_EQ(kxFatalText([] { kxThreadSafeReference().unrefWithoutDelete(); }), refrence);
    EXPECT_EQ(kxFatalText([] { kxThreadSafeReference().ref(); }), kDeleted);
    const auto deleteHeld = [] {
        const kxRefPointer<kxReference> pointer(new kxReference);
        delete pointer.get();
    };
    EXPECT_EQ(kxFatalText(deleteHeld), kDeleted);
    const std::string noClone = "Unimplemented clone called for type 'kxReference'";
    EXPECT_EQ(kxFatalText([] { static_cast<void>(kxReference().clone()); }), noClone);
    const auto whileAnotherPasses = [] {
        const kxReference object;
        object.ref();
        throw std::runtime_error("first");
    };
    EXPECT_THROW(whileAnotherPasses(), std::runtime_error) << "must not end the program";
}

template <typename Object> void expectThatTheCountDecides()
{
    auto* const object = new Object;
    object->ref();
    EXPECT_FALSE(object->deleteIfUnreferenced());
    EXPECT_EQ(object->setTag(7), 7U);
    Object copy(*object);
    EXPECT_TRUE(copy.isTagClear() && !object->isTagClear()) << "a copy starts fresh";
    *object = copy;
    EXPECT_EQ(object->getReferenceCount(), 1U) << "assignment keeps both counts";
    EXPECT_EQ(object->unrefWithoutDelete() + copy.getReferenceCount(), 0U);
    EXPECT_TRUE(object->deleteIfUnreferenced());
    EXPECT_EQ(alive, 1);
}

TEST(kxReference, CountDecidesOverLife)
{
    expectThatTheCountDecides<Counted<kxReference>>();
    expectThatTheCountDecides<Shared>();
}

// The steps of two threads in the order that does the harm: the first has brought the count to 0 and not yet
// checked whether the object may go, when the second takes a reference and drops it again.
TEST(kxThreadSafeReference, IsDestroyedByTheLastToCheck)
{
    struct Stepwise : Shared {
        using Shared::countDown;
        using Shared::destroyIfLast;
    };
    auto* const object = new Stepwise;
    object->ref();
    EXPECT_EQ(object->countDown(), 0U);
    object->ref();
    object->unref();
    ASSERT_EQ(alive, 1) << "the first is still to check, and needs the mutex";
    EXPECT_FALSE(object->deleteIfUnreferenced());
    EXPECT_TRUE(object->destroyIfLast(1));
    EXPECT_EQ(alive, 0);
}

TEST(kxThreadSafeReference, IsDestroyedOnceByThreadsThatRelease)
{
    for (int round = 0; round < 100; ++round) {
        auto* const object = new Shared;
        object->ref();
        object->ref();
        const auto work = [object] {
            for (int turn = 0; turn < 20; ++turn) const kxRefPointer<Shared> mine(object), again(mine);
            object->unref();
        };
        std::thread other(work);
        work();
        other.join();
        ASSERT_EQ(alive, 0);
    }
}

template <typename Base> struct Chained : Counted<Base> {
    ~Chained() override
    {
        if (isMiscounted) this->ref();
    }
    kxRefPointer<Chained> next;
    bool isMiscounted = false;
};

template <typename Base> void expectThatAChainGoes()
{
    const kxMessageRecorder messages;
    kxRefPointer<Chained<Base>> head;
    for (int length = 0; length < 200'000; ++length) {
        auto link = kxMakeRef<Chained<Base>>();
        link->isMiscounted = length % 70'000 == 1;
        link->next = std::move(head);
        head = std::move(link);
    }
    EXPECT_EQ(kxFatalText([&head] { head = nullptr; }), kDeleted);
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(messages.texts().size(), 2U) << "of three faults the first is raised";
}

TEST(kxReference, LongChainsNeedNoDeepStackAndSurviveFatalErrors)
{
    expectThatAChainGoes<kxReference>();
    expectThatAChainGoes<kxThreadSafeReference>();
}

template <typename Base> struct Full : Base {
    Full() { this->referenceCount_ = 0xFFFFFFFFU; }
    ~Full() override { this->referenceCount_ = 0; }
};

TEST(kxReference, AFullCountDoesNotStartAgain)
{
    const char* const text = "REFERENCE MISMATCH ! Too many references to an object";
    EXPECT_EQ(kxFatalText([] { Full<kxReference>().ref(); }), text);
    EXPECT_EQ(kxFatalText([] { Full<kxThreadSafeReference>().ref(); }), text);
}

struct Last : kxReference {
    ~Last() override
    {
        next = nullptr;
        EXPECT_EQ(--alive + place, 15) << "what a destructor releases is gone when the release returns";
    }
    static inline int alive = 0;
    int place = alive++;
    kxRefPointer<Last> next;
};

TEST(kxReference, DestructionKeepsItsOrder)
{
    kxRefPointer<Last> head;
    for (int count = 0; count < 16; ++count) {
        auto link = kxMakeRef<Last>();
        link->next.swap(head);
        head.swap(link);
    }
}

}  // namespace
