// Numbers to bytes and back, through an adapter and in memory, beside protobuf's coded streams and memcpy.
//
// Through an adapter a varint costs a virtual call a byte, since it is written and read byte by byte whatever the
// adapter does with a byte (a datagram adapter sends each by itself); a coded stream owns its buffer and needs no
// call, nor one for a number of fixed size. Where the bytes lie in memory, encode() and decode() are the pair to
// compare, and one-byte numbers are a tie there; arrays cost one call for all, which in host order is a memcpy. The
// adapter of an array is made before the measurement: each adapter is entered into the list of living ones, which
// takes a lock as long as the copying of a thousand numbers.

#include "kxbase/serialize/kxSerializeAdapterMemory.h"
#include "kxbase/serialize/kxSerializeBinary.h"
#include "kxbase/serialize/kxVarUInt64.h"

#include <benchmark/benchmark.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>

#include <cstring>
#include <random>
#include <vector>

namespace {

namespace pb = google::protobuf::io;

constexpr std::uint32_t kCount = 1000;
constexpr std::uint32_t kRoomBytes = kCount * 10;

// All lengths from one byte to nine, in an order that no predictor learns.
std::vector<std::uint64_t> someValues(std::uint32_t mostBits)
{
    std::mt19937_64 random(1);
    std::vector<std::uint64_t> values(kCount);
    for (auto& value : values) value = (random() >> 1) >> (63 - 1 - random() % mostBits);
    return values;
}

// Both ends over one block, and the values in their encoded form.
struct Bytes {
    explicit Bytes(std::uint32_t mostBits) : values(someValues(mostBits)), block(kRoomBytes)
    {
        for (const std::uint64_t value : values) used += kxVarUInt64::encode(value, block.data() + used);
    }
    std::vector<std::uint64_t> values;
    std::vector<std::uint8_t> block;
    std::uint32_t used = 0;
};

void report(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * kCount);
}

std::uint32_t bitsOf(const benchmark::State& state)
{
    return static_cast<std::uint32_t>(state.range(0));
}

void writeVarintAdapter(benchmark::State& state)
{
    Bytes bytes(bitsOf(state));
    for (auto _ : state) {
        kxSerializeAdapterMemory adapter(bytes.block.data(), kRoomBytes);
        for (const std::uint64_t value : bytes.values) kxVarUInt64(value).write(adapter);
        benchmark::ClobberMemory();
    }
    report(state);
}
BENCHMARK(writeVarintAdapter)->Arg(7)->Arg(63);

void writeVarintEncode(benchmark::State& state)
{
    Bytes bytes(bitsOf(state));
    for (auto _ : state) {
        std::uint8_t* place = bytes.block.data();
        for (const std::uint64_t value : bytes.values) place += kxVarUInt64::encode(value, place);
        benchmark::ClobberMemory();
    }
    report(state);
}
BENCHMARK(writeVarintEncode)->Arg(7)->Arg(63);

void writeVarintCodedStream(benchmark::State& state)
{
    Bytes bytes(bitsOf(state));
    for (auto _ : state) {
        pb::ArrayOutputStream array(bytes.block.data(), kRoomBytes);
        pb::CodedOutputStream stream(&array);
        for (const std::uint64_t value : bytes.values) stream.WriteVarint64(value);
        benchmark::ClobberMemory();
    }
    report(state);
}
BENCHMARK(writeVarintCodedStream)->Arg(7)->Arg(63);

void writeVarintToArray(benchmark::State& state)
{
    Bytes bytes(bitsOf(state));
    for (auto _ : state) {
        std::uint8_t* place = bytes.block.data();
        for (const std::uint64_t value : bytes.values)
            place = pb::CodedOutputStream::WriteVarint64ToArray(value, place);
        benchmark::ClobberMemory();
    }
    report(state);
}
BENCHMARK(writeVarintToArray)->Arg(7)->Arg(63);

void readVarintAdapter(benchmark::State& state)
{
    Bytes bytes(bitsOf(state));
    for (auto _ : state) {
        kxSerializeAdapterMemory adapter(bytes.block.data(), bytes.used);
        kxVarUInt64 value;
        for (std::uint32_t index = 0; index < kCount; ++index) {
            value.read(adapter);
            benchmark::DoNotOptimize(value.getValue());
        }
    }
    report(state);
}
BENCHMARK(readVarintAdapter)->Arg(7)->Arg(63);

void readVarintDecode(benchmark::State& state)
{
    Bytes bytes(bitsOf(state));
    for (auto _ : state) {
        std::uint32_t at = 0;
        while (at < bytes.used) {
            std::uint64_t value = 0;
            at += kxVarUInt64::decode(bytes.block.data() + at, bytes.used - at, value);
            benchmark::DoNotOptimize(value);
        }
    }
    report(state);
}
BENCHMARK(readVarintDecode)->Arg(7)->Arg(63);

void readVarintCodedStream(benchmark::State& state)
{
    Bytes bytes(bitsOf(state));
    for (auto _ : state) {
        pb::CodedInputStream stream(bytes.block.data(), static_cast<int>(bytes.used));
        for (std::uint32_t index = 0; index < kCount; ++index) {
            std::uint64_t value = 0;
            stream.ReadVarint64(&value);
            benchmark::DoNotOptimize(value);
        }
    }
    report(state);
}
BENCHMARK(readVarintCodedStream)->Arg(7)->Arg(63);

void writeFixedAdapter(benchmark::State& state)
{
    Bytes bytes(63);
    for (auto _ : state) {
        kxSerializeAdapterMemory adapter(bytes.block.data(), kRoomBytes);
        for (const std::uint64_t value : bytes.values)
            kxSerializeBinary<long long>(static_cast<long long>(value), KX_BYTE_ORDER_BIG).write(adapter);
        benchmark::ClobberMemory();
    }
    report(state);
}
BENCHMARK(writeFixedAdapter);

void writeFixedCodedStream(benchmark::State& state)
{
    Bytes bytes(63);
    for (auto _ : state) {
        pb::ArrayOutputStream array(bytes.block.data(), kRoomBytes);
        pb::CodedOutputStream stream(&array);
        for (const std::uint64_t value : bytes.values) stream.WriteLittleEndian64(value);
        benchmark::ClobberMemory();
    }
    report(state);
}
BENCHMARK(writeFixedCodedStream);

void readFixedAdapter(benchmark::State& state)
{
    Bytes bytes(63);
    for (auto _ : state) {
        kxSerializeAdapterMemory adapter(bytes.block.data(), kRoomBytes);
        kxSerializeBinary<long long> value(0, KX_BYTE_ORDER_BIG);
        for (std::uint32_t index = 0; index < kCount; ++index) {
            value.read(adapter);
            benchmark::DoNotOptimize(value.getValue());
        }
    }
    report(state);
}
BENCHMARK(readFixedAdapter);

void readFixedCodedStream(benchmark::State& state)
{
    Bytes bytes(63);
    for (auto _ : state) {
        pb::CodedInputStream stream(bytes.block.data(), static_cast<int>(kRoomBytes));
        for (std::uint32_t index = 0; index < kCount; ++index) {
            std::uint64_t value = 0;
            stream.ReadLittleEndian64(&value);
            benchmark::DoNotOptimize(value);
        }
    }
    report(state);
}
BENCHMARK(readFixedCodedStream);

void writeArray(benchmark::State& state, kxByteOrder order)
{
    Bytes bytes(63);
    const std::vector<double> values(bytes.values.begin(), bytes.values.end());
    kxSerializeAdapterMemory adapter(bytes.block.data(), kRoomBytes);
    for (auto _ : state) {
        kxSerializeBinary<double>::writeArray(adapter, values.data(), kCount, order);
        adapter.move(-static_cast<std::int32_t>(kCount * sizeof(double)));
        benchmark::ClobberMemory();
    }
    report(state);
}
BENCHMARK_CAPTURE(writeArray, littleEndian, KX_BYTE_ORDER_LITTLE);
BENCHMARK_CAPTURE(writeArray, bigEndian, KX_BYTE_ORDER_BIG);

void writeArrayMemcpy(benchmark::State& state)
{
    Bytes bytes(63);
    const std::vector<double> values(bytes.values.begin(), bytes.values.end());
    for (auto _ : state) {
        std::memcpy(bytes.block.data(), values.data(), kCount * sizeof(double));
        benchmark::ClobberMemory();
    }
    report(state);
}
BENCHMARK(writeArrayMemcpy);

}  // namespace
