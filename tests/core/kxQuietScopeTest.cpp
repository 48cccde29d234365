#include "kxbase/core/kxQuietScope.h"

#include "kxbase/core/kxTrackedMemory.h"
#include "support/kxMemoryTrace.h"
#include "support/kxTest.h"

#include <gmock/gmock.h>

namespace {

using testing::Contains, testing::HasSubstr, testing::Not;

void allocateAndFree(std::size_t sizeBytes)
{
    kxTrackedFree(kxTrackedAllocate(sizeBytes));
}

}  // namespace

TEST(kxQuietScope, SendsInOrderWhatItHeldBackWhenTheOutermostGoes)
{
    const kxMessageRecorder messages;
    const kxMemoryTrace trace;
    {
        const kxQuietScope outer;
        allocateAndFree(11);
        {
            const kxQuietScope inner;
            for (const char* file : {"a.cpp", "b.cpp"})
                EXPECT_THROW(kxThrowBadAlloc(file, 7), std::bad_alloc);
        }
        allocateAndFree(22);
        EXPECT_EQ(messages.texts().size(), 0U);
    }
    const auto texts = messages.texts();
    ASSERT_GT(texts.size(), 4U);
    EXPECT_THAT(std::vector(texts.begin(), texts.begin() + 4),
                testing::ElementsAre(HasSubstr("Malloc 11 "), HasSubstr("Free 11 "), HasSubstr("Malloc 22 "),
                                     HasSubstr("Free 22 ")));
    EXPECT_THAT(texts, Contains(HasSubstr("Bad Alloc:File: a.cpp")));
    EXPECT_THAT(texts, Not(Contains(HasSubstr("b.cpp"))));
}

TEST(kxQuietScope, CountsTheLinesThatItHasNoRoomFor)
{
    kxMessageRecorder messages;
    const kxMemoryTrace trace;
    {
        const kxQuietScope scope;
        for (std::uint32_t line = 0; line < KX_MOST_HELD_LINES / 2 + 1; ++line) allocateAndFree(1);
    }
    EXPECT_EQ(messages.entries().size(), KX_MOST_HELD_LINES + 1);
    EXPECT_THAT(messages.takeTexts().back(), HasSubstr(" 2 lines left out"));
    allocateAndFree(1);
    EXPECT_EQ(messages.entries().size(), 2U) << "nothing is held outside";
}

TEST(kxQuietScope, IsTheDeliveryOfAMessageSoThatNoLineComesBackToABusyReceiver)
{
    struct Receiver final : kxMessageReceiverInterface {
        void receive(const kxString&, std::uint32_t, const kxString& text) override
        {
            EXPECT_FALSE(std::exchange(isBusy, true));
            allocateAndFree(33);
            isBusy = false;
            last = text.text();
        }
        bool isBusy = false;
        std::string last;
    } receiver;
    kxMessageManager::instance().addReceiver(receiver);
    {
        const kxMemoryTrace trace;
        kxMessage(KX_MESSAGE_NOTICE, "x");
    }
    kxMessageManager::instance().removeReceiver(receiver);
    EXPECT_THAT(receiver.last, HasSubstr("Free "));
}
