// Making a known text unique, beside a std::unordered_map from text to id under a std::mutex.
//
// First with a string that is made for it, then from a text that is there already, where the map answers a bare id
// and kxUniqueString a whole string. Both sides hash the text; ours by the fixed hash that a kxString keeps.
#include "kxbase/string/kxUniqueString.h"

#include <benchmark/benchmark.h>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr std::uint32_t kTexts = 1000;

std::vector<std::string> someTexts()
{
    std::vector<std::string> texts;
    for (std::uint32_t number = 0; number < kTexts; ++number)
        texts.push_back("name of a thing " + std::to_string(number * 7919));
    return texts;
}

template <typename Look> void eachText(benchmark::State& state, const Look& look)
{
    const std::vector<std::string> texts = someTexts();
    std::size_t position = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(look(texts[position]));
        position = position + 1 == kTexts ? 0 : position + 1;
    }
}

class LockedMap {
public:
    LockedMap()
    {
        for (const auto& text : someTexts()) ids_.emplace(text, static_cast<std::uint16_t>(ids_.size() + 1));
    }
    std::uint16_t find(const std::string& text)
    {
        const std::lock_guard guard(mutex_);
        return ids_.find(text)->second;
    }

private:
    std::unordered_map<std::string, std::uint16_t> ids_;
    std::mutex mutex_;
};

void makeKnownUnique(benchmark::State& state)
{
    for (const auto& text : someTexts()) kxUniqueString(text).length();
    eachText(state, [](const std::string& text) {
        kxString string(text);
        kxUniqueString::make(string);
        return string.uniqueId();
    });
}
BENCHMARK(makeKnownUnique);

void makeAndLookUpInLockedMap(benchmark::State& state)
{
    LockedMap map;
    eachText(state, [&map](const std::string& text) {
        const std::string string(text);
        return map.find(string);
    });
}
BENCHMARK(makeAndLookUpInLockedMap);

void uniqueStringOfKnownText(benchmark::State& state)
{
    for (const auto& text : someTexts()) kxUniqueString(text).length();
    eachText(state, [](const std::string& text) { return kxUniqueString(text).uniqueId(); });
}
BENCHMARK(uniqueStringOfKnownText);

void lookUpInLockedMap(benchmark::State& state)
{
    LockedMap map;
    eachText(state, [&map](const std::string& text) { return map.find(text); });
}
BENCHMARK(lookUpInLockedMap);

}  // namespace
