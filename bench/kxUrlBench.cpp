// From a URL to an adapter, and the lookup of its options beside a map made for it.

#include "kxbase/serialize/kxSerializeAdapter.h"
#include "kxbase/serialize/kxSerializeAdapterMemory.h"
#include "kxbase/serialize/kxUrl.h"
#include "kxbase/serialize/kxUrlOptions.h"

#include <benchmark/benchmark.h>

#include <map>
#include <string>

namespace {

kxString memoryUrl()
{
    static char block[100];
    return kxString::format("mem:%llu,100", static_cast<const void*>(block));
}

void factoryMemory(benchmark::State& state)
{
    const kxString url = memoryUrl();
    for (auto _ : state) benchmark::DoNotOptimize(kxSerializeAdapter::getAdapter(url, KX_SERIALIZE_INPUT));
}
BENCHMARK(factoryMemory);

// The same adapter without a URL.
void factoryMemoryDirect(benchmark::State& state)
{
    char block[100];
    for (auto _ : state) benchmark::DoNotOptimize(kxMakeRef<kxSerializeAdapterMemory>(block, 100U));
}
BENCHMARK(factoryMemoryDirect);

void urlTakenApart(benchmark::State& state)
{
    const kxString url("udp::45455?nic=127.0.0.1&blocking=no&echo=yes");
    for (auto _ : state) benchmark::DoNotOptimize(kxUrl(url));
}
BENCHMARK(urlTakenApart);

constexpr std::string_view kOptions = "nic=127.0.0.1&blocking=no&echo=yes&ttl=1";

void optionsLookup(benchmark::State& state)
{
    std::string_view text = kOptions;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        const kxUrlOptions options(text);
        benchmark::DoNotOptimize(options.getText("nic"));
        benchmark::DoNotOptimize(options.getBool("echo", false));
        benchmark::DoNotOptimize(options.getInteger("ttl", 0));
    }
}
BENCHMARK(optionsLookup);

// The text taken apart once into a map that is then asked.
void optionsLookupMap(benchmark::State& state)
{
    std::string_view text = kOptions;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        std::map<std::string, std::string, std::less<>> options;
        for (std::string_view rest = text; !rest.empty();) {
            const std::string_view item = rest.substr(0, rest.find('&'));
            rest.remove_prefix(std::min(item.size() + 1, rest.size()));
            const std::size_t equals = item.find('=');
            options.emplace(item.substr(0, equals), item.substr(equals + 1));
        }
        benchmark::DoNotOptimize(options.find("nic"));
        benchmark::DoNotOptimize(options.find("echo")->second == "yes");
        benchmark::DoNotOptimize(std::stoi(options.find("ttl")->second));
    }
}
BENCHMARK(optionsLookupMap);

}  // namespace
