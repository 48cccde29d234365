// A process may fork while its other threads use what all threads share.
#include "kxbase/containers/kxThreadData.h"
#include "kxbase/string/kxUniqueString.h"

#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace {

kxThreadData<int, 2>& data()
{
    static auto& data = *new kxThreadData<int, 2>;
    return data;
}

void useAll(int number)
{
    data().next() = number;
    static_cast<void>(kxUniqueString(("fork" + std::to_string(number)).c_str()));
    kxString text("tracked, where the tests run under the memory check");
    text += "by one allocation more";
}

// Where a lock of the parent is still taken, the alarm ends the child.
int statusOfChild(int number)
{
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(5);
        useAll(1000 + number);
        ::_exit(0);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
}

TEST(kxFork, AChildFindsNoLockTaken)
{
    useAll(0);
    std::atomic<bool> isOver = false;
    const auto work = [&isOver] {
        for (int number = 0; !isOver; ++number) useAll(number % 100);
    };
    std::jthread first(work), second(work);
    for (int number = 0; number < 40 && !isOver; ++number)
        if (statusOfChild(number) != 0) isOver = true;
    EXPECT_FALSE(isOver.exchange(true)) << "a child was ended by its alarm";
}

}  // namespace
