#include "kxbase/core/kxClock.h"

#include "kxbase/core/kxCounterClock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <thread>

TEST(kxCounterClock, FollowsTheCounterFromItsBase)
{
    static std::uint64_t ticks = 50;
    static int starts = 0;
    const auto start = [] {
        ++starts;
        return kxCounterClock::Base{1000, ticks};
    };
    kxCounterClock clock(
        start, [] { return ticks; }, 0.25);
    const std::tuple<const char*, std::uint64_t, double> rows[] = {
        {"the first call is the base", 50, 1000},
        {"onwards", 54, 1001},
        {"back, but not below the base", 52, 1000.5},
        {"below the base moves the base", 42, 998},
        {"onwards from the new base", 46, 999},
        {"past the old base, without a jump", 54, 1001},
        {"below the new base", 0, 987.5},
        {"the whole counter", 1ULL << 40, 987.5 + 0x1p38},
    };
    for (const auto& [why, counter, seconds] : rows) {
        ticks = counter;
        EXPECT_DOUBLE_EQ(clock.seconds(), seconds) << why;
    }
    EXPECT_EQ(starts, 1);
}

TEST(kxClock, RunsFromTheWallClock)
{
    const double first = kxClock::seconds();
    EXPECT_NEAR(first, static_cast<double>(std::time(nullptr)), 2);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_GE(kxClock::seconds() - first, 0.0199);
}
