// A process may fork while its other threads use what all threads share.
#include "kxbase/containers/kxThreadData.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/message/kxMessageManager.h"
#include "kxbase/string/kxUniqueString.h"
#include "support/kxForkedChild.h"
#include "support/kxTest.h"

namespace {

kxThreadData<int, 2>& data()
{
    static auto& data = *new kxThreadData<int, 2>;
    return data;
}

struct Receiver : kxMessageReceiverInterface {
    void receive(const kxString&, std::uint32_t, const kxString&) override {}
};

void useAll(int number)
{
    kxMessage(KX_MESSAGE_WARNING, "%d", number);
    data().next() = number;
    static_cast<void>(kxUniqueString(("fork" + std::to_string(number)).c_str()));
    kxString text("tracked, where the tests run under the memory check");
    text += "by one allocation more";
}

TEST(kxFork, AChildFindsNoLockTaken)
{
    Receiver receiver;
    kxMessageManager::instance().addReceiver(receiver);
    useAll(0);
    std::atomic<bool> isOver = false;
    const auto work = [&isOver] {
        for (int number = 0; !isOver; ++number) useAll(number % 100);
    };
    std::jthread first(work), second(work);
    int status = 0;
    for (int number = 1000; number < 1040 && status == 0; ++number)
        status = kxStatusOfChild([number] { return useAll(number), true; });
    EXPECT_EQ(status, 0);
    isOver = true;
    first.join();
    second.join();
    kxMessageManager::instance().removeReceiver(receiver);
}

}  // namespace
