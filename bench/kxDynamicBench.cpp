// Dynamic values beside std::variant: making one, copying one, reading it, and a list of them.
//
// A dynamic value is always bytes, a number those of its shortest form, so that it can be put on an adapter as it
// is; a variant holds the value itself, and so is ahead in making and reading numbers. A list of numbers pays for
// that too, and for a descriptor in each value; it grows by half where a vector doubles, which leaves less room
// unused and moves the values more often.

#include "kxbase/dynamic/kxDynamicTypeArray.h"

#include <benchmark/benchmark.h>

#include <array>
#include <string>
#include <variant>
#include <vector>

namespace {

struct VariantList;
using Variant = std::variant<std::monostate, double, std::int64_t, std::string, std::array<float, 2>,
                             std::array<float, 4>, void*, std::vector<VariantList>>;
struct VariantList {
    Variant value;
};

const char* const kShortText = "adapter";
const char* const kLongText = "a text that is too long for any place inside the object itself";

template <typename Value, typename From> void make(benchmark::State& state, From from)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(from);
        Value value(from);
        benchmark::DoNotOptimize(value);
    }
}
template <typename From> void makeDynamic(benchmark::State& state, From from)
{
    make<kxDynamicType>(state, from);
}
template <typename From> void makeVariant(benchmark::State& state, From from)
{
    make<Variant>(state, from);
}
BENCHMARK_CAPTURE(makeDynamic, integer, 12345.0);
BENCHMARK_CAPTURE(makeVariant, integer, 12345.0);
BENCHMARK_CAPTURE(makeDynamic, fraction, 2.5);
BENCHMARK_CAPTURE(makeVariant, fraction, 2.5);
BENCHMARK_CAPTURE(makeDynamic, shortText, std::string_view(kShortText));
BENCHMARK_CAPTURE(makeVariant, shortText, kShortText);
BENCHMARK_CAPTURE(makeDynamic, longText, std::string_view(kLongText));
BENCHMARK_CAPTURE(makeVariant, longText, kLongText);

template <typename Value, typename From> void copy(benchmark::State& state, From from)
{
    Value original(from);
    for (auto _ : state) {
        benchmark::DoNotOptimize(original);
        Value value(original);
        benchmark::DoNotOptimize(value);
    }
}
template <typename From> void copyDynamic(benchmark::State& state, From from)
{
    copy<kxDynamicType>(state, from);
}
template <typename From> void copyVariant(benchmark::State& state, From from)
{
    copy<Variant>(state, from);
}
BENCHMARK_CAPTURE(copyDynamic, fraction, 2.5);
BENCHMARK_CAPTURE(copyVariant, fraction, 2.5);
BENCHMARK_CAPTURE(copyDynamic, shortText, std::string_view(kShortText));
BENCHMARK_CAPTURE(copyVariant, shortText, kShortText);
BENCHMARK_CAPTURE(copyDynamic, longText, std::string_view(kLongText));
BENCHMARK_CAPTURE(copyVariant, longText, kLongText);

void readDynamic(benchmark::State& state)
{
    kxDynamicType value(2.5);
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(value.toNumber());
    }
}
BENCHMARK(readDynamic);

void readVariant(benchmark::State& state)
{
    Variant value(2.5);
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(std::get<double>(value));
    }
}
BENCHMARK(readVariant);

void listDynamic(benchmark::State& state)
{
    for (auto _ : state) {
        kxDynamicTypeArray list;
        for (int number = 0; number < 100; ++number) list.append(number);
        kxDynamicTypeArray copied(list);
        benchmark::DoNotOptimize(copied);
    }
}
BENCHMARK(listDynamic);

// As one value, which is what goes on an adapter, and back.
void listDynamicThroughBytes(benchmark::State& state)
{
    kxDynamicTypeArray list;
    for (int number = 0; number < 100; ++number) list.append(number);
    for (auto _ : state) {
        const kxDynamicType value = list;
        kxDynamicTypeArray found(value);
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(listDynamicThroughBytes);

void listVariant(benchmark::State& state)
{
    for (auto _ : state) {
        std::vector<VariantList> list;
        for (int number = 0; number < 100; ++number) list.push_back({static_cast<double>(number)});
        std::vector<VariantList> copied(list);
        benchmark::DoNotOptimize(copied);
    }
}
BENCHMARK(listVariant);

}  // namespace
