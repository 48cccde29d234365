// Threads and ticks beside std::thread.
//
// A kxThread is started through an object that may be started again, killed and asked for its state, sets an
// alternate stack for crash handlers, and keeps its record; std::thread does none of that. The twin of a tick is
// a thread that calls the same functions in a loop.
#include "kxbase/thread/kxThread.h"
#include "kxbase/thread/kxThreadPoolTicker.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

class EmptyThread final : public kxThread {
    void process() override {}
};

void startAndJoin(benchmark::State& state)
{
    EmptyThread thread;
    for (auto _ : state) {
        thread.start(false);
        thread.join();
    }
}
void startAndJoinOfNewObject(benchmark::State& state)
{
    for (auto _ : state) {
        EmptyThread thread;
        thread.start(false);
        thread.join();
    }
}
void startAndJoinStandard(benchmark::State& state)
{
    for (auto _ : state) std::thread([] {}).join();
}
BENCHMARK(startAndJoin)->UseRealTime();
BENCHMARK(startAndJoinOfNewObject)->UseRealTime();
BENCHMARK(startAndJoinStandard)->UseRealTime();

class CountingTicker : public kxThreadTicker {
public:
    bool tick() override
    {
        ticks.fetch_add(1, std::memory_order_relaxed);
        return true;
    }
    std::atomic<std::uint64_t> ticks{0};
};

constexpr std::uint64_t kTicks = 1000000;

void awaitTicks(const CountingTicker& ticker)
{
    const std::uint64_t end = ticker.ticks + kTicks;
    while (ticker.ticks < end) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// Measured is the time, of the processor too, until one of the tickers has had a million ticks.
void tick(benchmark::State& state)
{
    std::vector<CountingTicker> tickers(static_cast<std::size_t>(state.range(0)));
    kxThreadPoolTicker pool;
    for (CountingTicker& ticker : tickers) pool.add(ticker);
    for (auto _ : state) awaitTicks(tickers[0]);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kTicks) * state.range(0));
    for (CountingTicker& ticker : tickers) pool.remove(ticker);
}
void tickStandard(benchmark::State& state)
{
    std::vector<CountingTicker> tickers(static_cast<std::size_t>(state.range(0)));
    std::atomic<bool> ends{false};
    std::thread thread([&] {
        while (!ends) {
            for (kxThreadTicker& ticker : tickers) ticker.tick();
        }
    });
    for (auto _ : state) awaitTicks(tickers[0]);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kTicks) * state.range(0));
    ends = true;
    thread.join();
}
BENCHMARK(tick)->Arg(1)->Arg(10)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(tickStandard)->Arg(1)->Arg(10)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace
