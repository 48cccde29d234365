// Locks and the clock beside those of the standard library.
//
// kxMutex counts its locks and knows its holder, as std::recursive_mutex does. kxReadWriteMutex may be taken again
// by its writer, for reading too, and keeps its state under a mutex of its own, as its rules demand: a read
// lock takes and leaves that mutex twice where std::shared_mutex changes one atomic number twice.
#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxQuietGuard.h"
#include "kxbase/thread/kxBodyReadGuard.h"
#include "kxbase/thread/kxBodyWriteGuard.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <mutex>
#include <shared_mutex>

namespace {

template <typename Guard, typename Mutex> void lockAndUnlock(benchmark::State& state)
{
    static Mutex mutex;
    for (auto _ : state) {
        Guard guard(mutex);
        benchmark::DoNotOptimize(guard);
    }
}
using StandardMutex = std::recursive_mutex;
using StandardGuard = std::lock_guard<std::recursive_mutex>;
using StandardReadGuard = std::shared_lock<std::shared_mutex>;
using StandardWriteGuard = std::lock_guard<std::shared_mutex>;
BENCHMARK(lockAndUnlock<kxBodyGuard, kxMutex>)->Threads(1)->Threads(2)->Threads(4)->UseRealTime();
BENCHMARK(lockAndUnlock<kxQuietGuard, kxMutex>);
BENCHMARK(lockAndUnlock<StandardGuard, StandardMutex>)->Threads(1)->Threads(2)->Threads(4)->UseRealTime();
BENCHMARK(lockAndUnlock<kxBodyReadGuard, kxReadWriteMutex>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(lockAndUnlock<StandardReadGuard, std::shared_mutex>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(lockAndUnlock<kxBodyWriteGuard, kxReadWriteMutex>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(lockAndUnlock<StandardWriteGuard, std::shared_mutex>)->Threads(1)->Threads(2)->UseRealTime();

void lockNested(benchmark::State& state)
{
    kxMutex mutex;
    const kxBodyGuard outer(mutex);
    for (auto _ : state) const kxBodyGuard inner(mutex);
}
void lockNestedStandard(benchmark::State& state)
{
    StandardMutex mutex;
    const StandardGuard outer(mutex);
    for (auto _ : state) const StandardGuard inner(mutex);
}
BENCHMARK(lockNested);
BENCHMARK(lockNestedStandard);

void clockSeconds(benchmark::State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(kxClock::seconds());
}
void clockSecondsStandard(benchmark::State& state)
{
    for (auto _ : state) {
        const std::chrono::duration<double> time = std::chrono::steady_clock::now().time_since_epoch();
        benchmark::DoNotOptimize(time.count());
    }
}
BENCHMARK(clockSeconds);
BENCHMARK(clockSecondsStandard);

}  // namespace
