// Reading and writing GUIDs beside libuuid.

#include "kxbase/string/kxGUID.h"

#include <benchmark/benchmark.h>

#include <uuid/uuid.h>

namespace {

constexpr const char* kText = "{0123ABCD-45EF-6789-FEDC-BA9876543210}";
constexpr const char* kBareText = "0123ABCD-45EF-6789-FEDC-BA9876543210";

void guidParseKx(benchmark::State& state)
{
    const char* text = kText;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        kxGUID guid(text);
        benchmark::DoNotOptimize(guid);
    }
}
BENCHMARK(guidParseKx);

void guidParseLibUuid(benchmark::State& state)
{
    const char* text = kBareText;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        uuid_t uuid;
        uuid_parse(text, uuid);
        benchmark::DoNotOptimize(uuid);
    }
}
BENCHMARK(guidParseLibUuid);

void guidPrintKx(benchmark::State& state)
{
    kxGUID guid(kText);
    for (auto _ : state) {
        char text[KX_GUID_TEXT_LENGTH + 1];
        benchmark::DoNotOptimize(guid);
        guid.toText(text);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(guidPrintKx);

// Into a string that owns its text.
void guidPrintKxString(benchmark::State& state)
{
    kxGUID guid(kText);
    for (auto _ : state) {
        benchmark::DoNotOptimize(guid);
        benchmark::DoNotOptimize(guid.toString());
    }
}
BENCHMARK(guidPrintKxString);

void guidPrintLibUuid(benchmark::State& state)
{
    uuid_t uuid;
    uuid_parse(kBareText, uuid);
    for (auto _ : state) {
        char text[UUID_STR_LEN];
        benchmark::DoNotOptimize(uuid);
        uuid_unparse_upper(uuid, text);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(guidPrintLibUuid);

void guidRandomKx(benchmark::State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(kxGUID::random());
}
BENCHMARK(guidRandomKx);

void guidRandomLibUuid(benchmark::State& state)
{
    uuid_t uuid;
    for (auto _ : state) {
        uuid_generate_random(uuid);
        benchmark::DoNotOptimize(uuid);
    }
}
BENCHMARK(guidRandomLibUuid);

}  // namespace
