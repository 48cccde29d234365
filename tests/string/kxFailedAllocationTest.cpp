// Every allocation of the string family fails once. The linker hands the calls of this program to the functions
// below; see CMakeLists.txt.
#include "kxbase/string/kxNameInterface.h"
#include "kxbase/string/kxUniqueString.h"
#include "support/kxMessageRecorder.h"

#include <gtest/gtest.h>
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
void* __real__Znwm(std::size_t);
void* __real__ZnwmRKSt9nothrow_t(std::size_t, const std::nothrow_t&);

void* __wrap_malloc(std::size_t size)
{
    return failsNow() ? nullptr : __real_malloc(size);
}
void* __wrap_realloc(void* block, std::size_t size)
{
    return failsNow() ? nullptr : __real_realloc(block, size);
}
void* __wrap__Znwm(std::size_t size)
{
    if (failsNow()) throw std::bad_alloc();
    return __real__Znwm(size);
}
void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag)
{
    return failsNow() ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}
}

namespace {

// Lets one allocation after the other fail until the operation passes; answers how many did, with what was said.
template <typename Operation> std::vector<std::string> failures(const Operation& operation)
{
    std::vector<std::string> texts;
    for (int number = 0; number < 100; ++number) {
        const kxMessageRecorder recorder;
        const kxString kept(std::string(65535, 'a')), unique = kxUniqueString("array");
        kxString target(kept), shared(unique);
        bool hasFailed = false;
        allocationsLeft = number;
        try {
            operation(target, shared);
        } catch (const std::bad_alloc&) {
            hasFailed = true;
        }
        allocationsLeft = -1;
        EXPECT_EQ(recorder.entries().size(), hasFailed ? 1U : 0U);
        if (!hasFailed || recorder.entries().empty()) return texts;
        EXPECT_TRUE(target == kept && target.uniqueId() == 0 && shared.text() == unique.text());
        texts.push_back(recorder.texts().front());
    }
    return texts;
}

}  // namespace

TEST(kxFailedAllocation, IsReportedOnceAndLeavesTheTargetAsItWas)
{
    using Operation = void (*)(kxString & target, kxString & shared);
    const struct {
        const char* why;
        Operation operation;
    } cases[] = {
        {"copy", [](kxString& target, kxString&) { target = kxString(target); }},
        {"text", [](kxString& target, kxString&) { target = "a new text"; }},
        {"addition", [](kxString&, kxString& shared) { shared += "more"; }},
        {"replacing", [](kxString& target, kxString&) { target = target.replaced("aa", "b"); }},
        {"a shared text made its own", [](kxString&, kxString& shared) { shared.setCharacter(0, 'A'); }},
        {"long integer",
         [](kxString& target, kxString&) { target = kxString::fromInteger(-1, {.minimumDigits = 900}); }},
        {"long format", [](kxString& target, kxString&) { target = kxString::format("%s", target); }},
        {"wide copy", [](kxString& target, kxString&) { static_cast<void>(target.wide()); }},
        {"new unique text", [](kxString& target, kxString&) { kxUniqueString::make(target); }},
        {"text of a free id", [](kxString& target, kxString&) { target = kxUniqueString("", 5000); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const std::vector<std::string> texts = failures(c.operation);
        EXPECT_FALSE(texts.empty());
        for (const std::string& text : texts)
            EXPECT_TRUE(text.starts_with("Bad Alloc:File: kxbase/")) << text;
    }
    const auto formatShort = [](kxString& target, kxString&) {
        target = kxString::format("%d %s", 5, "text");
    };
    EXPECT_EQ(failures(formatShort).size(), 1U) << "nothing but the result is allocated";
    EXPECT_NE(failures(cases[1].operation), failures(cases[3].operation)) << "each names its place";
}
