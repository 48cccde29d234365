// Holding a reference: kxRefPointer beside std::shared_ptr.
//
// A kxReference counts through virtual operations and checks for mismatches, which its rules demand and which
// std::shared_ptr does not do; std::shared_ptr in turn counts without atomics in a program of one thread and
// with them as soon as there is a second one. kxThreadSafeReference takes its mutex for each operation, as its
// rules demand, where std::shared_ptr adds to an atomic number. Making an object and letting it go is behind for the
// first reason: counting and destroying are virtual calls, and none is left out when the count is known to be 1.
#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxThreadSafeReference.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <thread>

namespace {

class PlainObject : public kxReference {};
class FinalObject final : public kxReference {};
class SharedObject : public kxThreadSafeReference {};

// Makes the standard pointer count with atomics, as it does in any program that uses threads.
const bool hadSecondThread = [] {
    std::thread([] {}).join();
    return true;
}();

template <typename Pointer> void copyAndDrop(benchmark::State& state, Pointer pointer)
{
    benchmark::DoNotOptimize(hadSecondThread);
    for (auto _ : state) {
        benchmark::DoNotOptimize(pointer);
        Pointer copy(pointer);
        benchmark::DoNotOptimize(copy);
    }
}

void copyPlain(benchmark::State& state)
{
    copyAndDrop(state, kxRefPointer<kxReference>(new PlainObject));
}
void copyPlainOfFinalClass(benchmark::State& state)
{
    copyAndDrop(state, kxRefPointer<FinalObject>(new FinalObject));
}
void copyThreadSafe(benchmark::State& state)
{
    copyAndDrop(state, kxRefPointer<kxReference>(new SharedObject));
}
void copyStandard(benchmark::State& state)
{
    copyAndDrop(state, std::make_shared<int>(1));
}
BENCHMARK(copyPlain);
BENCHMARK(copyPlainOfFinalClass);
BENCHMARK(copyThreadSafe);
BENCHMARK(copyStandard);

void makePlain(benchmark::State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(kxMakeRef<PlainObject>());
}
void makeStandard(benchmark::State& state)
{
    for (auto _ : state) benchmark::DoNotOptimize(std::make_shared<int>(1));
}
BENCHMARK(makePlain);
BENCHMARK(makeStandard);

}  // namespace
