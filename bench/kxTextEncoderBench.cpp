// Bytes as text and back, beside the same in OpenSSL's libcrypto, and bytes through the queue endpoint beside
// a deque. Figures count the bytes, not the characters of their text.

#include "kxbase/serialize/kxBase64Codec.h"
#include "kxbase/serialize/kxHexCodec.h"
#include "kxbase/serialize/kxSerializeAdapterBCDEncoder.h"
#include "kxbase/serialize/kxSerializeAdapterBase64Encoder.h"
#include "kxbase/serialize/kxSerializeAdapterDummy.h"
#include "kxbase/serialize/kxSerializeAdapterMemory.h"
#include "kxbase/serialize/kxSerializeAdapterQueue.h"

#include <benchmark/benchmark.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <deque>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kSize = 48 * 1024;
constexpr std::size_t kLineBytes = 57;  // gives lines of 76 characters in Base64

Bytes randomBytes()
{
    std::mt19937 random(1);
    Bytes bytes(kSize);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

Bytes hexText()
{
    Bytes text(2 * kSize);
    kxHexCodec::encode(randomBytes().data(), kSize, text.data());
    return text;
}

Bytes base64Text()
{
    Bytes text(kSize / 3 * 4);
    kxBase64Codec::encode(randomBytes().data(), kSize / 3, text.data());
    return text;
}

// The text in lines, as the usual programs write it.
Bytes inLines(const Bytes& text, std::size_t characters)
{
    Bytes lines;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (index != 0 && index % characters == 0) lines.push_back('\n');
        lines.push_back(text[index]);
    }
    return lines;
}

Bytes widened(const Bytes& text)
{
    Bytes wide;
    for (const auto character : text) wide.insert(wide.end(), {character, 0});
    return wide;
}

void countBytes(benchmark::State& state)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kSize));
}

void base64Encode(benchmark::State& state)
{
    const Bytes bytes = randomBytes();
    Bytes text(kSize / 3 * 4);
    for (auto _ : state) {
        kxBase64Codec::encode(bytes.data(), kSize / 3, text.data());
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void base64EncodeOpenSsl(benchmark::State& state)
{
    const Bytes bytes = randomBytes();
    Bytes text(kSize / 3 * 4 + 1);
    for (auto _ : state) {
        EVP_EncodeBlock(text.data(), bytes.data(), static_cast<int>(kSize));
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void base64Decode(benchmark::State& state)
{
    const Bytes text = base64Text();
    Bytes bytes(kSize);
    for (auto _ : state) {
        benchmark::DoNotOptimize(kxBase64Codec::decode(text.data(), kSize / 3, bytes.data()));
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void base64DecodeOpenSsl(benchmark::State& state)
{
    const Bytes text = base64Text();
    Bytes bytes(kSize);
    for (auto _ : state) {
        EVP_DecodeBlock(bytes.data(), text.data(), static_cast<int>(text.size()));
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void hexEncode(benchmark::State& state)
{
    const Bytes bytes = randomBytes();
    Bytes text(2 * kSize);
    for (auto _ : state) {
        kxHexCodec::encode(bytes.data(), kSize, text.data());
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void hexEncodeOpenSsl(benchmark::State& state)
{
    const Bytes bytes = randomBytes();
    std::vector<char> text(2 * kSize + 1);
    for (auto _ : state) {
        OPENSSL_buf2hexstr_ex(text.data(), text.size(), nullptr, bytes.data(), kSize, '\0');
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void hexDecode(benchmark::State& state)
{
    const Bytes text = hexText();
    Bytes bytes(kSize);
    for (auto _ : state) {
        benchmark::DoNotOptimize(kxHexCodec::decode(text.data(), kSize, bytes.data()));
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void hexDecodeOpenSsl(benchmark::State& state)
{
    Bytes text = hexText();
    text.push_back(0);
    Bytes bytes(kSize);
    for (auto _ : state) {
        OPENSSL_hexstr2buf_ex(bytes.data(), bytes.size(), nullptr, reinterpret_cast<const char*>(text.data()),
                              '\0');
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

// Through the endpoints, in one block.

template <typename Encoder> void write(benchmark::State& state)
{
    const Bytes bytes = randomBytes();
    const auto parent = kxMakeRef<kxSerializeAdapterDummy>();
    parent->setFlags(static_cast<std::uint32_t>(state.range(0)));
    for (auto _ : state) {
        const auto encoder = kxMakeRef<Encoder>(parent);
        encoder->write(bytes.data(), kSize);
    }
    countBytes(state);
}

template <typename Encoder> void read(benchmark::State& state, Bytes text, std::uint32_t flags = 0)
{
    Bytes bytes(kSize);
    for (auto _ : state) {
        const auto parent =
            kxMakeRef<kxSerializeAdapterMemory>(text.data(), static_cast<std::uint32_t>(text.size()));
        parent->setFlags(flags);
        if (kxMakeRef<Encoder>(parent)->read(bytes.data(), kSize) != kSize) state.SkipWithError("short read");
    }
    countBytes(state);
}

void base64Read(benchmark::State& state)
{
    read<kxSerializeAdapterBase64Encoder>(state, base64Text());
}

void base64ReadLines(benchmark::State& state)
{
    read<kxSerializeAdapterBase64Encoder>(state, inLines(base64Text(), kLineBytes / 3 * 4));
}

void base64ReadWide(benchmark::State& state)
{
    read<kxSerializeAdapterBase64Encoder>(state, widened(base64Text()), KX_SERIALIZE_WIDE);
}

void hexRead(benchmark::State& state)
{
    read<kxSerializeAdapterBCDEncoder>(state, hexText());
}

void hexReadLines(benchmark::State& state)
{
    read<kxSerializeAdapterBCDEncoder>(state, inLines(hexText(), 60));
}

void hexReadWide(benchmark::State& state)
{
    read<kxSerializeAdapterBCDEncoder>(state, widened(hexText()), KX_SERIALIZE_WIDE);
}

// Each byte is a virtual call, which the deque does not make.
void adapterQueueBytes(benchmark::State& state)
{
    const kxRefPointer<kxSerializeAdapter> queue(new kxSerializeAdapterQueue(KX_QUEUE_FIFO, 4096));
    for (auto _ : state) {
        for (std::size_t index = 0; index < kSize; ++index) queue->writeByte('x');
        for (std::size_t index = 0; index < kSize; ++index) benchmark::DoNotOptimize(queue->readByte());
    }
    countBytes(state);
}

void adapterQueueBytesDeque(benchmark::State& state)
{
    std::deque<std::uint8_t> queue;
    for (auto _ : state) {
        for (std::size_t index = 0; index < kSize; ++index) queue.push_back('x');
        for (std::size_t index = 0; index < kSize; ++index) {
            benchmark::DoNotOptimize(queue.front());
            queue.pop_front();
        }
    }
    countBytes(state);
}

void adapterQueueBlocks(benchmark::State& state)
{
    const kxRefPointer<kxSerializeAdapter> queue(new kxSerializeAdapterQueue(KX_QUEUE_FIFO, 4096));
    Bytes bytes = randomBytes();
    for (auto _ : state) {
        queue->write(bytes.data(), kSize);
        queue->read(bytes.data(), kSize);
    }
    countBytes(state);
}

void adapterQueueBlocksDeque(benchmark::State& state)
{
    std::deque<std::uint8_t> queue;
    Bytes bytes = randomBytes();
    for (auto _ : state) {
        queue.insert(queue.end(), bytes.begin(), bytes.end());
        std::copy_n(queue.begin(), kSize, bytes.begin());
        queue.erase(queue.begin(), queue.begin() + kSize);
    }
    countBytes(state);
}

}  // namespace

BENCHMARK(base64Encode);
BENCHMARK(base64EncodeOpenSsl);
BENCHMARK(base64Decode);
BENCHMARK(base64DecodeOpenSsl);
BENCHMARK(hexEncode);
BENCHMARK(hexEncodeOpenSsl);
BENCHMARK(hexDecode);
BENCHMARK(hexDecodeOpenSsl);
BENCHMARK(write<kxSerializeAdapterBase64Encoder>)->Name("base64Write")->Arg(0)->Arg(KX_SERIALIZE_WIDE);
BENCHMARK(base64Read);
BENCHMARK(base64ReadLines);
BENCHMARK(base64ReadWide);
BENCHMARK(write<kxSerializeAdapterBCDEncoder>)->Name("hexWrite")->Arg(0)->Arg(KX_SERIALIZE_WIDE);
BENCHMARK(hexRead);
BENCHMARK(hexReadLines);
BENCHMARK(hexReadWide);
BENCHMARK(adapterQueueBytes);
BENCHMARK(adapterQueueBytesDeque);
BENCHMARK(adapterQueueBlocks);
BENCHMARK(adapterQueueBlocksDeque);
