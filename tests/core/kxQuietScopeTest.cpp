#include "kxbase/core/kxQuietScope.h"

#include "kxbase/core/kxTrackedMemory.h"
#include "support/kxMemoryTrace.h"
#include "support/kxTest.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

TEST(kxQuietScope, SendsInOrderWhatItHeldBackWhenTheOutermostGoes)
{
    const kxMessageRecorder messages;
    const kxMemoryTrace trace;
    {
        const kxQuietScope outer;
        void* const first = kxTrackedAllocate(11);
        {
            const kxQuietScope inner;
            kxTrackedFree(kxTrackedAllocate(22));
            for (const char* file : {"a.cpp", "b.cpp"})
                EXPECT_THROW(kxThrowBadAlloc(file, 7), std::bad_alloc);
        }
        kxTrackedFree(first);
        EXPECT_EQ(messages.texts().size(), 0U);
    }
    EXPECT_THAT(messages.texts(),
                testing::ElementsAre(HasSubstr("Malloc 11 "), HasSubstr("Malloc 22 "), HasSubstr("Free 22 "),
                                     HasSubstr("Free 11 "), HasSubstr("Bad Alloc:File: a.cpp")));
}

TEST(kxQuietScope, CountsTheLinesThatItHasNoRoomFor)
{
    kxMessageRecorder messages;
    const kxMemoryTrace trace;
    {
        const kxQuietScope scope;
        for (std::uint32_t line = 0; line < KX_MOST_HELD_LINES / 2 + 1; ++line)
            kxTrackedFree(kxTrackedAllocate(1));
    }
    EXPECT_EQ(messages.entries().size(), KX_MOST_HELD_LINES + 1);
    EXPECT_THAT(messages.takeTexts().back(), HasSubstr(" 2 lines left out"));
    kxTrackedFree(kxTrackedAllocate(1));
    EXPECT_EQ(messages.entries().size(), 2U) << "nothing is held outside";
}
