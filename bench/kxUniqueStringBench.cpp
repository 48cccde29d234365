// Making a known text unique, beside a std::unordered_map from text to id under a std::mutex.
#include "kxbase/string/kxUniqueString.h"

#include <benchmark/benchmark.h>

#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr std::uint32_t kTexts = 1000;

void makeKnownUnique(benchmark::State& state)
{
    std::vector<kxString> texts;
    for (std::uint32_t number = 0; number < kTexts; ++number)
        texts.push_back(kxUniqueString("name of a thing " + std::to_string(number * 7919)));
    std::vector<std::string> plain;
    for (const auto& text : texts) plain.emplace_back(text.view());
    std::size_t position = 0;
    for (auto _ : state) {
        kxString string(plain[position]);
        kxUniqueString::make(string);
        benchmark::DoNotOptimize(string.uniqueId());
        position = position + 1 == kTexts ? 0 : position + 1;
    }
}
void lookUpInLockedMap(benchmark::State& state)
{
    std::unordered_map<std::string, std::uint16_t> ids;
    std::mutex mutex;
    std::vector<std::string> plain;
    for (std::uint32_t number = 0; number < kTexts; ++number) {
        plain.push_back("name of a thing " + std::to_string(number * 7919));
        ids.emplace(plain.back(), static_cast<std::uint16_t>(number + 1));
    }
    std::size_t position = 0;
    for (auto _ : state) {
        const std::string string(plain[position]);
        const std::lock_guard guard(mutex);
        benchmark::DoNotOptimize(ids.find(string)->second);
        position = position + 1 == kTexts ? 0 : position + 1;
    }
}
BENCHMARK(makeKnownUnique);
BENCHMARK(lookUpInLockedMap);

}  // namespace
