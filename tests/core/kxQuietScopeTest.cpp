#include "kxbase/core/kxQuietScope.h"

#include "kxbase/core/kxTrackedMemory.h"
#include "support/kxForkedChild.h"
#include "support/kxMemoryTrace.h"
#include "support/kxTest.h"

#include <memory>

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre, testing::HasSubstr;

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
        }
        allocateAndFree(22);
        EXPECT_EQ(messages.texts().size(), 0U);
    }
    EXPECT_THAT(messages.texts(), ElementsAre(HasSubstr("Malloc 11 "), HasSubstr("Free 11 "),
                                              HasSubstr("Malloc 22 "), HasSubstr("Free 22 ")));
}

TEST(kxQuietScope, LeavesToTheParentWhatWasHeldBeforeAFork)
{
    kxMessageRecorder messages;
    const kxMemoryTrace trace;
    const auto linesInChild = [&] {
        auto scope = std::make_unique<kxQuietScope>();
        allocateAndFree(11);
        return kxStatusOfChild([&] {
            allocateAndFree(22);
            scope.reset();
            const auto texts = messages.takeTexts();
            return texts.size() == 2 && texts[0].find("Malloc 22 ") != std::string::npos;
        });
    };
    EXPECT_EQ(linesInChild(), 0);
    EXPECT_THAT(messages.texts(), ElementsAre(HasSubstr("Malloc 11 "), HasSubstr("Free 11 ")));
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
