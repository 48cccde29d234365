// Every allocation of the string family fails once. The linker hands the calls of this program to the functions
// below; see CMakeLists.txt.
#include "kxbase/string/kxUniqueString.h"
#include "support/kxTest.h"

#include <new>

namespace {

thread_local int allocationsLeft = -1;  // until the one that fails; negative: none does

bool failsNow() noexcept
{
    return allocationsLeft >= 0 && allocationsLeft-- == 0;
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t);
void* __real_realloc(void*, std::size_t);

void* __wrap_malloc(std::size_t size)
{
    return failsNow() ? nullptr : __real_malloc(size);
}
void* __wrap_realloc(void* block, std::size_t size)
{
    return failsNow() ? nullptr : __real_realloc(block, size);
}
}

TEST(kxFailedAllocation, IsReportedOnceAndLeavesTheTargetAsItWas)
{
    using Operation = void (*)(kxString & target);
    const std::pair<const char*, Operation> cases[] = {
        {"copy", [](kxString& target) { target = kxString(target); }},
        {"text", [](kxString& target) { target = "a new text"; }},
        {"replacing", [](kxString& target) { target = target.replaced("aa", "b"); }},
        {"long integer",
         [](kxString& target) { target = kxString::fromInteger(-1, {.minimumDigits = 900}); }},
        {"long format", [](kxString& target) { target = kxString::format("%s", target); }},
        {"wide copy", [](kxString& target) { static_cast<void>(target.wide()); }},
        {"new unique text", [](kxString& target) { kxUniqueString::make(target); }},
    };
    for (const auto& [why, operation] : cases) {
        SCOPED_TRACE(why);
        bool hasFailed = true;
        for (int number = 0; hasFailed && number < 100; ++number) {
            const kxMessageRecorder recorder;
            const kxString kept(std::string(65535, 'a'));
            kxString target(kept);
            hasFailed = false;
            allocationsLeft = number;
            try {
                operation(target);
            } catch (const std::bad_alloc&) {
                hasFailed = true;
            }
            allocationsLeft = -1;
            EXPECT_TRUE(hasFailed || number > 0) << "the first one always fails";
            ASSERT_EQ(recorder.entries().size(), hasFailed ? 1U : 0U);
            if (!hasFailed) continue;
            EXPECT_TRUE(target == kept && target.uniqueId() == 0);
            EXPECT_TRUE(recorder.texts()[0].starts_with("Bad Alloc:File: kxbase/"));
        }
        EXPECT_FALSE(hasFailed);
    }
}
