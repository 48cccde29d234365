#include "kxbase/core/kxMemCheck.h"
#include "kxbase/core/kxTrackedMemory.h"
#include "kxbase/string/kxString.h"
#include "support/kxProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <utility>

#include <unistd.h>

namespace {

using Lines = std::vector<std::string>;

constexpr const char* kBegin =
    "-- Korvex3D Lost Memory Report ----------------------------------------------";
constexpr const char* kEnd = "-- End of Lost Memory Report -----------------------------------------------";
// What the program holds until its end, and what it loses.
constexpr unsigned kHeldBytes = 24, kFirstBytes = 24, kSecondBytes = 100;
constexpr unsigned kLostBytes = kFirstBytes + kSecondBytes + 0 + 3000 + 5;

// What the program says of a block that it has lost.
struct Lost {
    unsigned thread = 0, sizeBytes = 0;
    unsigned long long address = 0;
};

template <typename... Arguments> std::string text(const char* format, const Arguments&... arguments)
{
    return kxString::format(format, arguments...).text();
}

class kxMemCheckTest : public testing::Test {
protected:
    // Runs the program that loses memory; what it says of the blocks goes to lost_, its messages are answered.
    Lines run(const std::string& setting, const std::vector<std::string>& arguments = {})
    {
        kxProcessOptions options{arguments};
        if (!setting.empty()) options.environment["KORVEX_MEMORY_CHECK"] = setting;
        options.environment["KORVEX_MESSAGE_LEVEL"] = "Warning";
        options.environment["ASAN_OPTIONS"] = "detect_leaks=0";  // what is lost here is lost on purpose
        kxProcess program(KX_TEST_LOSER, options);
        EXPECT_EQ(program.wait(), kxExited(0));
        std::istringstream output(program.output());
        const std::string prefix = "\rKorvexSDK Internal Memory::";
        Lines messages;
        for (std::string line; std::getline(output, line);) {
            Lost lost;
            if (line.starts_with(prefix))
                messages.push_back(line.substr(prefix.size()));
            else if (std::sscanf(line.c_str(), "%x %u %llx", &lost.thread, &lost.sizeBytes, &lost.address) ==
                     3)
                lost_.push_back(lost);
            else
                EXPECT_EQ(line, "") << "each text ends with a line feed of its own";
        }
        return messages;
    }

    std::vector<Lost> lost_;
};

}  // namespace

TEST_F(kxMemCheckTest, ListsEveryLostBlockAtTheVeryEnd)
{
    const Lines lines = run("yes");
    constexpr unsigned sequences[] = {1, 3, 5, 7, 8};
    constexpr int states[] = {0, -7, 0, -7, -7};
    Lines expected{kBegin};
    ASSERT_EQ(lost_.size(), std::size(sequences));
    for (std::size_t at = 0; at < lost_.size(); ++at) {
        const auto& [thread, size, address] = lost_[at];
        const bool isDescribed = at == 1;
        expected.push_back(text("!! (thread:0x%x) Lost mem %u bytes at 0x%llx (data:%s) (count:%u) (tot:%u) "
                                "(state:%d)%s",
                                thread, size, address, isDescribed ? "texture" : "?", sequences[at],
                                kLostBytes, states[at], isDescribed ? " -> kept by %s" : ""));
    }
    expected.push_back(kEnd);
    EXPECT_EQ(lines, expected);
}

TEST_F(kxMemCheckTest, TracesInWordsAndInNumbers)
{
    const Lines words = run("trace");
    const Lost first = lost_.at(0);
    const unsigned early = kHeldBytes + kFirstBytes, late = early + kSecondBytes;
    EXPECT_THAT(words, testing::IsSupersetOf(
                           {text("--!! (Thread:0x%x) Malloc %u bytes at 0x%llx (index:1) (count:1) (tot:%u)",
                                 first.thread, kFirstBytes, first.address, early),
                            std::string(kBegin)}));
    using testing::EndsWith;
    EXPECT_THAT(words, testing::Contains(EndsWith(text("(index:2) (count:2) (tot:%u)", early))));
    EXPECT_THAT(words, testing::Contains(EndsWith(text("(index:4) (count:4) (tot:%u)->freed", late))));

    lost_.clear();
    const Lines numbers = run("compact");
    const auto& [thread, size, address] = lost_.at(0);
    EXPECT_THAT(numbers,
                testing::IsSupersetOf({text("M %u %u %llu 1 1 %u ?", thread, size, address, early),
                                       text("L %u %u %llu 1 %u 0 * ?", thread, size, address, kLostBytes)}));
    using testing::MatchesRegex;
    EXPECT_THAT(numbers, testing::Contains(MatchesRegex(text("F [0-9]+ 9 [0-9]+ 4 4 %u freed", late))));
    EXPECT_THAT(numbers, testing::Contains(EndsWith(text(" 3 %u -7 kept by %%s texture", kLostBytes))));
}

TEST_F(kxMemCheckTest, SaysNothingUnlessItIsOn)
{
    for (const char* setting : {"", "no", "YES?"}) EXPECT_EQ(run(setting), Lines()) << setting;
}

TEST_F(kxMemCheckTest, CallsSwitchItAndWhatIsRecordedStaysSoWhileItIsOff)
{
    const auto like = [](const char* line) { return testing::MatchesRegex(line); };
    EXPECT_THAT(run("", {"calls"}),
                testing::ElementsAre(kBegin, like("L [0-9]+ 10 [0-9]+ 0 30 0 \\* described"),
                                     like("L [0-9]+ 20 [0-9]+ 3 30 0 \\* described"), kEnd,
                                     like("F [0-9]+ 10 [0-9]+ 0 0 20 described")));
}

TEST(kxMemCheckDeathTest, AnAllocatorThatComesFirstIsAskedForAllAndALaterOneForNothing)
{
    struct Counting final : kxMemoryAllocatorInterface {
        void* allocate(std::size_t sizeBytes) noexcept override
        {
            return ++blocks,
                   sizeBytes < kxMemoryTable::kRoomBytes ? std::malloc(sizeBytes) : (++refused, nullptr);
        }
        void* reallocate(void*, std::size_t) noexcept override { return nullptr; }
        void free(void* block) noexcept override { --blocks, std::free(block); }
        int blocks = 0, refused = 0;
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a program of its own, which has allocated nothing
    const auto count = [] {
        static Counting counting;
        const bool isInstalled = kxMemCheck::setAllocator(counting);
        const int blocksBefore = counting.blocks;
        void* const block = kxTrackedAllocate(1);
        const bool isAsked = counting.blocks > blocksBefore;
        kxTrackedFree(block);
        kxMemCheck::setTracking(true);
        for (int lost = 0; lost < 3; ++lost) static_cast<void>(kxTrackedAllocate(1));
        ::dup2(2, 1);
        kxMemCheck::report();
        const bool isRefusedOnce = counting.refused == 1 && !kxMemCheck::setAllocator(counting);
        std::_Exit(isInstalled && isAsked && isRefusedOnce ? 0 : 1);
    };
    EXPECT_EXIT(count(), testing::ExitedWithCode(0), "Report -+\n[^!]*End of");

    const auto comeTooLate = [] {
        kxMemCheck::leaveThisThreadOut();  // its block needs its allocator all the same
        void* const block = kxTrackedAllocate(1);
        static Counting counting;
        const bool isInstalled = kxMemCheck::setAllocator(counting);
        kxTrackedFree(block);
        std::_Exit(!isInstalled && counting.blocks == 0 ? 0 : 1);
    };
    EXPECT_EXIT(comeTooLate(), testing::ExitedWithCode(0), "");
}

// Against a list of what each block got, across the point where the table has been filled once.
TEST(kxMemoryTable, RecordsAMillionBlocksAndTakesTheFirstFreeRecord)
{
    constexpr std::uint32_t kNone = UINT32_MAX;
    constexpr std::uint64_t kStep = 16;
    const auto sizeOf = [](std::size_t number) { return std::uint64_t{number % 77}; };
    const auto table = std::make_unique<kxMemoryTable>();
    const auto index = std::make_unique<kxMemoryIndex>();
    std::vector<kxMemoryRecord> room(kxMemoryTable::kRecords);
    table->setRoom(room.data(), index.get());
    std::vector<std::uint32_t> indices{kNone};  // by address
    std::uint64_t total = 0, live = 0;
    const auto add = [&] {
        const std::size_t number = indices.size();
        total += sizeOf(number);
        kxMemoryEntry entry;
        if (!table->add({.address = number * kStep, .sizeBytes = sizeOf(number)}, &entry)) return false;
        EXPECT_EQ(entry.record.sequence, number - 1) << "only records that are filled have a number";
        indices.push_back(entry.index);
        ++live;
        return true;
    };
    const auto take = [&](std::size_t number) {
        kxMemoryEntry entry;
        const bool isTaken = table->take(number * kStep, &entry);
        total -= sizeOf(number);
        --live;
        return isTaken && entry.index == std::exchange(indices[number], kNone) &&
               entry.record.sizeBytes == sizeOf(number);
    };
    while (add()) {
        const std::size_t last = indices.size() - 1;
        if (last % 3 == 0) {
            ASSERT_TRUE(take(last));
        }
    }
    EXPECT_EQ(live, kxMemoryTable::kRecords) << "none is left out before the table is full";

    for (std::size_t number = 5; number < indices.size(); number += 999) {
        const std::uint32_t freed = indices[number];
        if (freed == kNone) continue;
        ASSERT_TRUE(take(number) && add());
        ASSERT_EQ(indices.back(), freed);
    }
    EXPECT_EQ(table->totalBytes(), total) << "blocks without a record count as well";
    EXPECT_FALSE(table->take(kStep / 2)) << "no block has this address";
    std::vector<kxMemoryEntry> entries(table->liveCount());
    EXPECT_EQ(table->copyLive(entries.data()), live);
    for (const auto& entry : entries) ASSERT_EQ(indices.at(entry.record.address / kStep), entry.index);
}
