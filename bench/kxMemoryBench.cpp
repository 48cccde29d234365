// The memory check: a pair of allocation and free among 100,000 live blocks, each pair freeing a block chosen at
// random. Bare memory of the C library, tracked memory while the check is off and while it is on, and beside it what
// a program would write for the purpose: malloc and a std::unordered_map of records under a std::mutex.
#include "kxbase/core/kxMemCheck.h"
#include "kxbase/core/kxTrackedMemory.h"
#include "kxbase/message/kxMessageManager.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <mutex>
#include <random>
#include <thread>
#include <unordered_map>
#include <vector>

namespace {

constexpr std::size_t kLiveBlocks = 100000;
constexpr std::size_t kChoices = 1 << 16;

struct BareMemory {
    static void* allocate(std::size_t sizeBytes) { return std::malloc(sizeBytes); }
    static void free(void* block) { std::free(block); }
};

struct TrackedMemory {
    static void* allocate(std::size_t sizeBytes) { return kxTrackedAllocate(sizeBytes); }
    static void free(void* block) { kxTrackedFree(block); }
};

struct MappedMemory {
    static void* allocate(std::size_t sizeBytes)
    {
        void* const block = std::malloc(sizeBytes);
        const std::lock_guard<std::mutex> guard(mutex);
        records.emplace(block, kxMemoryRecord{.sizeBytes = sizeBytes});
        return block;
    }
    static void free(void* block)
    {
        {
            const std::lock_guard<std::mutex> guard(mutex);
            records.erase(block);
        }
        std::free(block);
    }
    static inline std::mutex mutex;
    static inline std::unordered_map<void*, kxMemoryRecord> records;
};

// A mutex that no second thread has ever been there for is cheaper than in any real program.
const bool hadSecondThread = [] {
    std::thread([] {}).join();
    return true;
}();

template <typename Memory> void pairs(benchmark::State& state)
{
    benchmark::DoNotOptimize(hadSecondThread);
    std::minstd_rand random;
    std::vector<std::uint32_t> choices(kChoices);
    for (std::uint32_t& choice : choices) choice = static_cast<std::uint32_t>(random() % kLiveBlocks);
    std::vector<void*> blocks(kLiveBlocks);
    for (void*& block : blocks) block = Memory::allocate(16 + random() % 100);
    std::size_t turn = 0;
    for (auto _ : state) {
        void*& block = blocks[choices[turn++ % kChoices]];
        Memory::free(block);
        block = Memory::allocate(16 + turn % 100);
    }
    for (void* block : blocks) Memory::free(block);
}

void bare(benchmark::State& state)
{
    pairs<BareMemory>(state);
}
void trackedWhileOff(benchmark::State& state)
{
    pairs<TrackedMemory>(state);
}
void trackedWhileOn(benchmark::State& state)
{
    const std::uint32_t level = kxMessageManager::instance().level();
    kxMemCheck::setTracking(true);
    pairs<TrackedMemory>(state);
    kxMemCheck::setTracking(false);
    kxMessageManager::instance().setLevel(level);
}
void mapped(benchmark::State& state)
{
    pairs<MappedMemory>(state);
}
BENCHMARK(bare);
BENCHMARK(trackedWhileOff);
BENCHMARK(trackedWhileOn);
BENCHMARK(mapped);

}  // namespace
