// Dictionaries of text keys beside std::unordered_map, byte queues beside std::deque.
//
// The hash of a kxString is fixed, and many texts share one: of "item0" to "item999999" a lookup meets long runs
// of equal hashes, whose texts it compares one after the other. `distinctHashes` tells how many there are; where
// it is far below the number of keys, the standard map with its stronger hash is ahead for that reason alone.
//
// Growth is fixed as well, at twice the buckets and to four times plus 3: a million keys lie in 720,895 buckets, at
// 1.4 a bucket, and each entry passed and the text behind the key is one more look into memory that is in no cache.
// The standard map keeps at most one a bucket and texts up to 15 bytes in its nodes; so it is ahead in lookups
// there. It fills a map of 100 a little faster, since a kxString keeps every text in an allocation of its own.
#include "kxbase/containers/kxDict.h"
#include "kxbase/containers/kxQueue.h"
#include "kxbase/string/kxStringCompareInterface.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <deque>
#include <map>
#include <random>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {

using Dict = kxDict<kxString, int, kxStringCompareInterface>;
using Map = std::unordered_map<std::string, int*>;

int value = 0;

// Words of changing length, as names in a program have them, or the consecutive numbers that suit the hash
// least.
std::string keyText(std::uint32_t number, bool isConsecutive)
{
    if (isConsecutive) return "item" + std::to_string(number);
    std::minstd_rand random(number + 1);
    random.discard(2);  // the first numbers after seeds that follow each other are alike
    std::string text(6 + random() % 10, ' ');
    for (char& character : text) character = static_cast<char>('a' + random() % 26);
    return text;
}

// Made once for all benchmarks with these keys.
template <typename Key> const std::vector<Key>& shuffledKeys(std::uint32_t count, bool isConsecutive)
{
    static std::map<std::pair<std::uint32_t, bool>, std::vector<Key>> made;
    std::vector<Key>& keys = made[{count, isConsecutive}];
    if (!keys.empty()) return keys;
    for (std::uint32_t number = 0; number < count; ++number)
        keys.push_back(Key(keyText(number, isConsecutive)));
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    return keys;
}

template <typename Key> class Keys {
public:
    explicit Keys(benchmark::State& state)
        : keys_(shuffledKeys<Key>(static_cast<std::uint32_t>(state.range(0)), state.range(1) != 0))
    {}
    const Key& next()
    {
        const Key& key = keys_[position_];
        if (++position_ == keys_.size()) position_ = 0;
        return key;
    }
    const std::vector<Key>& all() const { return keys_; }

private:
    const std::vector<Key>& keys_;
    std::size_t position_ = 0;
};

void insertAll(Dict& dict, const std::vector<kxString>& keys)
{
    dict.setReuse(true);
    for (const auto& key : keys) dict.insert(key, &value);
}

void lookupDict(benchmark::State& state)
{
    Keys<kxString> keys(state);
    Dict dict;
    insertAll(dict, keys.all());
    for (auto _ : state) benchmark::DoNotOptimize(dict.find(keys.next()));
    std::unordered_set<std::uint32_t> hashes;
    for (const auto& key : keys.all()) hashes.insert(key.hash());
    state.counters["distinctHashes"] = static_cast<double>(hashes.size());
}
void lookupStandard(benchmark::State& state)
{
    Keys<std::string> keys(state);
    Map map;
    for (const auto& key : keys.all()) map.emplace(key, &value);
    for (auto _ : state) benchmark::DoNotOptimize(map.find(keys.next()));
}

void eraseAndInsertDict(benchmark::State& state)
{
    Keys<kxString> keys(state);
    Dict dict;
    insertAll(dict, keys.all());
    for (auto _ : state) {
        const kxString& key = keys.next();
        dict.remove(key);
        dict.insert(key, &value);
    }
}
void eraseAndInsertStandard(benchmark::State& state)
{
    Keys<std::string> keys(state);
    Map map;
    for (const auto& key : keys.all()) map.emplace(key, &value);
    for (auto _ : state) {
        const std::string& key = keys.next();
        map.erase(key);
        map.emplace(key, &value);
    }
}

void fillDict(benchmark::State& state)
{
    Keys<kxString> keys(state);
    for (auto _ : state) {
        Dict dict;
        insertAll(dict, keys.all());
        benchmark::DoNotOptimize(dict.count());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
void fillStandard(benchmark::State& state)
{
    Keys<std::string> keys(state);
    for (auto _ : state) {
        Map map;
        for (const auto& key : keys.all()) map.emplace(key, &value);
        benchmark::DoNotOptimize(map.size());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgNames({"keys", "consecutive"});
    for (const int count : {100, 10'000, 1'000'000}) benchmark->Args({count, 0});
    for (const int count : {100, 10'000}) benchmark->Args({count, 1});
}
BENCHMARK(lookupDict)->Apply(sizes);
BENCHMARK(lookupStandard)->Apply(sizes);
BENCHMARK(eraseAndInsertDict)->Apply(sizes);
BENCHMARK(eraseAndInsertStandard)->Apply(sizes);
BENCHMARK(fillDict)->Apply(sizes);
BENCHMARK(fillStandard)->Apply(sizes);

constexpr std::uint32_t kBlock = 1000;

void queueSingleBytes(benchmark::State& state)
{
    kxQueue<std::uint8_t> queue(KX_QUEUE_FIFO, kBlock);
    for (auto _ : state) {
        for (std::uint32_t count = 0; count < kBlock; ++count) queue.push(static_cast<std::uint8_t>(count));
        for (std::uint32_t count = 0; count < kBlock; ++count) benchmark::DoNotOptimize(queue.pop());
    }
    state.SetBytesProcessed(state.iterations() * kBlock);
}
void queueBlocks(benchmark::State& state)
{
    kxQueue<std::uint8_t> queue(KX_QUEUE_FIFO, kBlock);
    std::vector<std::uint8_t> block(kBlock);
    for (auto _ : state) {
        queue.pushBlock(block.data(), kBlock);
        queue.popBlock(block.data(), kBlock);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * kBlock);
}
void dequeSingleBytes(benchmark::State& state)
{
    std::deque<std::uint8_t> queue;
    for (auto _ : state) {
        for (std::uint32_t count = 0; count < kBlock; ++count)
            queue.push_back(static_cast<std::uint8_t>(count));
        for (std::uint32_t count = 0; count < kBlock; ++count) {
            benchmark::DoNotOptimize(queue.front());
            queue.pop_front();
        }
    }
    state.SetBytesProcessed(state.iterations() * kBlock);
}
void dequeBlocks(benchmark::State& state)
{
    std::deque<std::uint8_t> queue;
    std::vector<std::uint8_t> block(kBlock);
    for (auto _ : state) {
        queue.insert(queue.end(), block.begin(), block.end());
        std::copy_n(queue.begin(), kBlock, block.begin());
        queue.erase(queue.begin(), queue.begin() + kBlock);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * kBlock);
}
BENCHMARK(queueSingleBytes);
BENCHMARK(dequeSingleBytes);
BENCHMARK(queueBlocks);
BENCHMARK(dequeBlocks);

}  // namespace
