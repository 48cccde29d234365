#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxThreadSafeReference.h"
#include "support/kxTest.h"

namespace {

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

struct Link : kxReference {
    ~Link() override
    {
        next = nullptr;
        EXPECT_EQ(--alive + place, 15) << "what a destructor releases is gone when the release returns";
    }
    static inline int alive = 0;
    int place = alive++;
    kxRefPointer<Link> next;
};

TEST(kxReferenceFaults, DestructionKeepsItsOrder)
{
    kxRefPointer<Link> head;
    for (int count = 0; count < 16; ++count) {
        auto link = kxMakeRef<Link>();
        link->next.swap(head);
        head.swap(link);
    }
}

}  // namespace
