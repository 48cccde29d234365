// Files through an adapter, byte by byte and in blocks, beside the C library's buffered streams.

#include "kxbase/serialize/kxSerializeAdapterFile.h"
#include "kxbase/serialize/kxSerializeAdapterMemory.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr std::int64_t kFileBytes = 8 * 1000 * 1000;

// A file of its own for each benchmark, in the directory for temporary files.
class TemporaryFile {
public:
    TemporaryFile()
    {
        const char* const folder = std::getenv("TMPDIR");
        path_ = std::string(folder != nullptr ? folder : "/tmp") + "/kxbench.XXXXXX";
        std::FILE* const file = ::fdopen(::mkstemp(path_.data()), "wb");
        const std::string bytes(static_cast<std::size_t>(kFileBytes), 'x');
        std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
    }
    ~TemporaryFile() { std::remove(path_.c_str()); }
    const char* path() const { return path_.c_str(); }

private:
    std::string path_;
};

using File = kxRefPointer<kxSerializeAdapterFile>;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using Stream = std::unique_ptr<std::FILE, CloseFile>;

void readBytes(benchmark::State& state)
{
    const TemporaryFile source;
    for (auto _ : state) {
        const File file(new kxSerializeAdapterFile(source.path(), KX_SERIALIZE_INPUT, false));
        std::uint32_t sum = 0;
        for (std::int64_t index = 0; index < kFileBytes; ++index) sum += file->readChar();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kFileBytes);
}

// Without the lock that getc takes for each byte; it needs no virtual call.
void readBytesGetcUnlocked(benchmark::State& state)
{
    const TemporaryFile source;
    for (auto _ : state) {
        const Stream file(std::fopen(source.path(), "rb"));
        std::uint32_t sum = 0;
        for (std::int64_t index = 0; index < kFileBytes; ++index) {
            sum += static_cast<std::uint32_t>(::getc_unlocked(file.get()));
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kFileBytes);
}

void writeBytes(benchmark::State& state)
{
    const TemporaryFile target;
    for (auto _ : state) {
        const File file(new kxSerializeAdapterFile(target.path(), KX_SERIALIZE_OUTPUT, false));
        for (std::int64_t index = 0; index < kFileBytes; ++index) file->writeByte('y');
    }
    state.SetItemsProcessed(state.iterations() * kFileBytes);
}

void writeBytesPutcUnlocked(benchmark::State& state)
{
    const TemporaryFile target;
    for (auto _ : state) {
        const Stream file(std::fopen(target.path(), "wb"));
        for (std::int64_t index = 0; index < kFileBytes; ++index) ::putc_unlocked('y', file.get());
    }
    state.SetItemsProcessed(state.iterations() * kFileBytes);
}

void readBlocks(benchmark::State& state)
{
    const TemporaryFile source;
    std::vector<char> block(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        const File file(new kxSerializeAdapterFile(source.path(), KX_SERIALIZE_INPUT, false));
        while (file->read(block.data(), static_cast<std::uint32_t>(block.size())) != 0) {
        }
    }
    state.SetBytesProcessed(state.iterations() * kFileBytes);
}

void readBlocksFread(benchmark::State& state)
{
    const TemporaryFile source;
    std::vector<char> block(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        const Stream file(std::fopen(source.path(), "rb"));
        while (std::fread(block.data(), 1, block.size(), file.get()) != 0) {
        }
    }
    state.SetBytesProcessed(state.iterations() * kFileBytes);
}

void writeBlocks(benchmark::State& state)
{
    const TemporaryFile target;
    const std::vector<char> block(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        const File file(new kxSerializeAdapterFile(target.path(), KX_SERIALIZE_OUTPUT, false));
        for (std::int64_t written = 0; written < kFileBytes; written += state.range(0)) {
            file->write(block.data(), static_cast<std::uint32_t>(block.size()));
        }
    }
    state.SetBytesProcessed(state.iterations() * kFileBytes);
}

void writeBlocksFwrite(benchmark::State& state)
{
    const TemporaryFile target;
    const std::vector<char> block(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        const Stream file(std::fopen(target.path(), "wb"));
        for (std::int64_t written = 0; written < kFileBytes; written += state.range(0)) {
            std::fwrite(block.data(), 1, block.size(), file.get());
        }
    }
    state.SetBytesProcessed(state.iterations() * kFileBytes);
}

void readMemoryBytes(benchmark::State& state)
{
    std::vector<char> block(1000000);
    for (auto _ : state) {
        const kxRefPointer<kxSerializeAdapterMemory> memory(
            new kxSerializeAdapterMemory(block.data(), static_cast<std::uint32_t>(block.size())));
        std::uint32_t sum = 0;
        for (std::size_t index = 0; index < block.size(); ++index) sum += memory->readChar();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(block.size()));
}

}  // namespace

BENCHMARK(readBytes);
BENCHMARK(readBytesGetcUnlocked);
BENCHMARK(writeBytes);
BENCHMARK(writeBytesPutcUnlocked);
BENCHMARK(readBlocks)->Arg(1000)->Arg(1000000);
BENCHMARK(readBlocksFread)->Arg(1000)->Arg(1000000);
BENCHMARK(writeBlocks)->Arg(1000)->Arg(1000000);
BENCHMARK(writeBlocksFwrite)->Arg(1000)->Arg(1000000);
BENCHMARK(readMemoryBytes);
