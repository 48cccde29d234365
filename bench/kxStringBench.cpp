// Formatting, numbers to text, hashing and UTF conversion beside their twins from outside.
#include "kxbase/string/kxNumberText.h"
#include "kxbase/string/kxString.h"
#include "kxbase/string/kxUtf.h"

#include <benchmark/benchmark.h>
#include <charconv>
#include <cstdio>
#include <fmt/format.h>
#include <iconv.h>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr const char* kName = "adapter";
constexpr int kCount = 12345;
constexpr double kSeconds = 3.142;

// Integer, text and double into a string that owns its text.
void formatKx(benchmark::State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(kxString::format("%d %s %.3f", kCount, kName, kSeconds));
}
BENCHMARK(formatKx);

void formatKxAutomatic(benchmark::State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(kxString::format("%d %s %f", kCount, kName, kSeconds));
}
BENCHMARK(formatKxAutomatic);

// snprintf and fmt write into a buffer; a string of its own is one more allocation for them.
void formatSnprintf(benchmark::State& state)
{
    char text[64];
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::snprintf(text, sizeof text, "%d %s %.3f", kCount, kName, kSeconds));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(formatSnprintf);

void formatFmtBuffer(benchmark::State& state)
{
    char text[64];
    for (auto _ : state) {
        benchmark::DoNotOptimize(fmt::format_to(text, "{} {} {:.3f}", kCount, kName, kSeconds));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(formatFmtBuffer);

void formatFmtString(benchmark::State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(fmt::format("{} {} {:.3f}", kCount, kName, kSeconds));
}
BENCHMARK(formatFmtString);

std::vector<std::int64_t> someIntegers()
{
    std::mt19937_64 random(1);
    std::vector<std::int64_t> values(256);
    for (auto& value : values) value = static_cast<std::int64_t>(random() >> (random() % 60));
    return values;
}

std::vector<double> someDoubles()
{
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> range(0, 10000);
    std::vector<double> values(256);
    for (auto& value : values) value = range(random);
    return values;
}

template <typename Value, typename Write>
void eachValue(benchmark::State& state, const std::vector<Value>& values, const Write& write)
{
    char text[64];
    std::size_t at = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(write(text, values[at++ % values.size()]));
        benchmark::ClobberMemory();
    }
}

void integerKx(benchmark::State& state)
{
    eachValue(state, someIntegers(),
              [](char* text, std::int64_t value) { return kxIntegerToText(text, value); });
}
BENCHMARK(integerKx);

void integerToChars(benchmark::State& state)
{
    eachValue(state, someIntegers(),
              [](char* text, std::int64_t value) { return std::to_chars(text, text + 64, value).ptr; });
}
BENCHMARK(integerToChars);

void doubleKx(benchmark::State& state)
{
    eachValue(state, someDoubles(), [](char* text, double value) {
        std::uint32_t length = 0;
        kxDtoA(text, value, 3, &length);
        return length;
    });
}
BENCHMARK(doubleKx);

void doubleToChars(benchmark::State& state)
{
    eachValue(state, someDoubles(), [](char* text, double value) {
        return std::to_chars(text, text + 64, value, std::chars_format::fixed, 3).ptr;
    });
}
BENCHMARK(doubleToChars);

// Values with two decimals, as many digits as they need: here up to where only noise is left, in the twin the
// shortest text that reads back as the value.
std::vector<double> someAmounts()
{
    std::mt19937_64 random(4);
    std::vector<double> values(256);
    for (auto& value : values) value = static_cast<double>(random() % 1000000) / 100;
    return values;
}

void doubleAutomaticKx(benchmark::State& state)
{
    eachValue(state, someAmounts(), [](char* text, double value) {
        std::uint32_t length = 0;
        kxDtoA(text, value, -1, &length);
        return length;
    });
}
BENCHMARK(doubleAutomaticKx);

void doubleAutomaticToChars(benchmark::State& state)
{
    eachValue(state, someAmounts(),
              [](char* text, double value) { return std::to_chars(text, text + 64, value).ptr; });
}
BENCHMARK(doubleAutomaticToChars);

// Mostly ASCII words with letters of two and three bytes between, cut to whole characters.
std::string mixedText(std::size_t size)
{
    std::mt19937 random(3);
    const char* const words[] = {"relay ",
                                 "gr\xC3\xB6\xC3\x9F"
                                 "er ",
                                 "datagram from ",
                                 "\xE6\x97\xA5\xE6\x9C\xAC ",
                                 "the channel ",
                                 "na\xC3\xAFve ",
                                 "\xE2\x82\xAC 12.50 "};
    std::string text;
    while (text.size() < size) text += words[random() % std::size(words)];
    text.resize(kxUtfWholeLength(std::string_view(text).substr(0, size)));
    return text;
}

void utfToWideKx(benchmark::State& state)
{
    const std::string text = mixedText(static_cast<std::size_t>(state.range(0)));
    std::vector<char16_t> units(text.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(kxUtfToWide(text, units.data(), units.size()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(utfToWideKx)->Arg(1024)->Arg(1 << 20);

void utfFromWideKx(benchmark::State& state)
{
    const std::string text = mixedText(static_cast<std::size_t>(state.range(0)));
    std::u16string units(text.size(), u' ');
    units.resize(kxUtfToWide(text, units.data(), units.size()).written);
    std::vector<char> bytes(text.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(kxUtfFromWide(units, bytes.data()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(utfFromWideKx)->Arg(1024)->Arg(1 << 20);

void convertIconv(benchmark::State& state, const char* to, const char* from, std::string text)
{
    const iconv_t converter = iconv_open(to, from);
    std::vector<char> converted(text.size() * 3);
    for (auto _ : state) {
        char* input = text.data();
        char* output = converted.data();
        std::size_t inputLeft = text.size();
        std::size_t outputLeft = converted.size();
        benchmark::DoNotOptimize(iconv(converter, &input, &inputLeft, &output, &outputLeft));
        benchmark::ClobberMemory();
    }
    iconv_close(converter);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void utfToWideIconv(benchmark::State& state)
{
    convertIconv(state, "UTF-16LE", "UTF-8", mixedText(static_cast<std::size_t>(state.range(0))));
}
BENCHMARK(utfToWideIconv)->Arg(1024)->Arg(1 << 20);

void utfFromWideIconv(benchmark::State& state)
{
    const std::string text = mixedText(static_cast<std::size_t>(state.range(0)));
    std::u16string units(text.size(), u' ');
    units.resize(kxUtfToWide(text, units.data(), units.size()).written);
    convertIconv(state, "UTF-8", "UTF-16LE",
                 std::string(reinterpret_cast<const char*>(units.data()), units.size() * sizeof(char16_t)));
}
BENCHMARK(utfFromWideIconv)->Arg(1024)->Arg(1 << 20);

void hashKx(benchmark::State& state)
{
    const std::string text(static_cast<std::size_t>(state.range(0)), 'k');
    for (auto _ : state) benchmark::DoNotOptimize(kxString::hashOf(text));
}
BENCHMARK(hashKx)->Arg(8)->Arg(64);

// The fixed hash takes four bytes a step, each waiting for the one before.
void hashStandard(benchmark::State& state)
{
    const std::string text(static_cast<std::size_t>(state.range(0)), 'k');
    for (auto _ : state) benchmark::DoNotOptimize(std::hash<std::string_view>()(text));
}
BENCHMARK(hashStandard)->Arg(8)->Arg(64);

}  // namespace
