#include "kxbase/core/kxMutex.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "support/kxMessageRecorder.h"

#include <gtest/gtest.h>

#include <thread>

TEST(kxMutex, CountsItsLocksAndRemembersItsOwner)
{
    kxMutex mutex(true);
    mutex.lock();
    mutex.lock();
    mutex.unlock();
    EXPECT_EQ(mutex.lockCount(), 1U);
    EXPECT_EQ(mutex.owner(), kxPlatformThreadId());
    std::thread([&] {
        EXPECT_FALSE(mutex.tryLock());
        mutex.unlock();  // holds nothing, changes nothing
    }).join();
    EXPECT_EQ(mutex.lockCount(), 1U);
    mutex.unlock();
    EXPECT_EQ(mutex.owner(), 0U);
    mutex.unlock();
    EXPECT_EQ(mutex.lockCount(), 0U);
    std::thread([&] {
        EXPECT_TRUE(mutex.tryLock());
        mutex.unlock();
    }).join();
    kxMutex untracked;
    const kxBodyGuard guard(untracked);
    EXPECT_EQ(untracked.owner(), 0U);
}

TEST(kxMutex, WarnsWhenDestroyedLocked)
{
    const kxMessageRecorder messages;
    auto mutex = std::make_unique<kxMutex>();
    mutex->lock();
    char expected[80];
    std::snprintf(expected, sizeof(expected), "kxMutex (%zx) deleted with unbalanced Lock/unLock",
                  reinterpret_cast<std::size_t>(mutex.get()));
    mutex.reset();
    EXPECT_EQ(messages.texts(), std::vector<std::string>{expected});
}
