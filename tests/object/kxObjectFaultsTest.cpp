#include "kxbase/containers/kxRefDict.h"
#include "kxbase/containers/kxRefList.h"
#include "kxbase/object/kxThreadSafeReference.h"
#include "tests/support/kxFatalText.h"

#include <gtest/gtest.h>

#include <functional>
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
    using Dict = kxRefDict<int, Object, kxUInt32CompareInterface>;
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

}  // namespace
