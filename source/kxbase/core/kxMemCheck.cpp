#include "kxbase/core/kxMemCheck.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxUndestroyed.h"
#include "kxbase/core/kxUntrackedScope.h"
#include "kxbase/platform/kxPlatformEnd.h"
#include "kxbase/platform/kxPlatformEnvironment.h"
#include "kxbase/platform/kxPlatformThread.h"

#include <cstdlib>
#include <memory>
#include <string_view>

#include <cxxabi.h>

namespace {

constexpr const char* kVariable = "KORVEX_MEMORY_CHECK";
constexpr std::uint32_t kTraceLevel = KX_MESSAGE_MEMORY | KX_MESSAGE_INTERNAL;
constexpr std::uint32_t kReportLevel = kTraceLevel | KX_MESSAGE_UNTRANSLATED;
constexpr const char* kUnknownData = "?";
// Stands in the validity word once the tracker is set up.
constexpr std::uint32_t kValid = 0xABCD1234;

constexpr const char* kReportBegin =
    "-- Korvex3D Lost Memory Report ----------------------------------------------\n";
constexpr const char* kReportEnd =
    "-- End of Lost Memory Report -----------------------------------------------\n";

// The lines about a block, each without and with the text that only some blocks have.
struct LineFormat {
    const char* plain;
    const char* withText;
};
struct LineFormats {
    LineFormat allocated, freed, lost;
};
constexpr const char* kAllocatedLine =
    "--!! (Thread:0x%x) Malloc %u bytes at 0x%x (index:%u) (count:%u) (tot:%u)\n";
constexpr LineFormats kLongLines = {
    {kAllocatedLine, kAllocatedLine},
    {"--!! (Thread:0x%x) Free %u bytes at 0x%x (index:%u) (count:%u) (tot:%u)\n",
     "--!! (Thread:0x%x) Free %u bytes at 0x%x (index:%u) (count:%u) (tot:%u)->%s\n"},
    {"!! (thread:0x%x) Lost mem %u bytes at 0x%x (data:%s) (count:%u) (tot:%u) (state:%d)\n",
     "!! (thread:0x%x) Lost mem %u bytes at 0x%x (data:%s) (count:%u) (tot:%u) (state:%d) -> %s\n"},
};
constexpr const char* kCompactAllocatedLine = "M %u %u %u %u %u %u ?\n";
constexpr LineFormats kCompactLines = {
    {kCompactAllocatedLine, kCompactAllocatedLine},
    {"F %u %u %u %u %u %u ?\n", "F %u %u %u %u %u %u %s\n"},
    {"L %u %u %u %u %u %d * %s\n", "L %u %u %u %u %u %d %s %s\n"},
};

class RuntimeAllocator final : public kxMemoryAllocatorInterface {
public:
    void* allocate(std::size_t sizeBytes) noexcept override { return std::malloc(sizeBytes); }
    void* reallocate(void* block, std::size_t sizeBytes) noexcept override
    {
        return std::realloc(block, sizeBytes);
    }
    void free(void* block) noexcept override { std::free(block); }
};

constinit kxUndestroyed<RuntimeAllocator> runtimeAllocator;
constinit std::atomic<kxMemoryAllocatorInterface*> allocator{&runtimeAllocator.value};

constinit kxUndestroyed<kxMutex> mutex;
constinit kxMemoryTable table;  // under the mutex

constinit std::atomic<std::uint32_t> validity{0};
constinit std::atomic<bool> isTraced{false};
constinit std::atomic<bool> isCompact{false};
thread_local std::int32_t stateOfThread = 0;
constinit thread_local bool isThreadLeftOut = false;

const LineFormats& lineFormats()
{
    return isCompact.load(std::memory_order_relaxed) ? kCompactLines : kLongLines;
}

std::uint64_t addressOf(const void* block)
{
    return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(block));
}

std::size_t roomFor(std::size_t sizeBytes)
{
    return sizeBytes != 0 ? sizeBytes : 1;
}

// What a message costs or a receiver throws must not touch whoever allocates.
template <typename... Arguments>
void tell(std::uint32_t level, std::string_view format, const Arguments&... arguments)
{
    const kxUntrackedScope scope;
    try {
        kxMessage(level, format, arguments...);
    } catch (const abi::__forced_unwind&) {
        throw;  // the thread is ended from inside a receiver
    } catch (...) {
    }
}

void tellLost(const kxMemoryEntry& entry, std::uint64_t totalBytes)
{
    const kxMemoryRecord& record = entry.record;
    const char* const data = entry.texts.data != nullptr ? entry.texts.data : kUnknownData;
    const char* const description = entry.texts.description;
    const auto send = [&](const auto&... values) {
        const LineFormat& format = lineFormats().lost;
        tell(kReportLevel, description != nullptr ? format.withText : format.plain, record.thread,
             record.sizeBytes, record.address, values...);
    };
    if (!isCompact.load(std::memory_order_relaxed))
        send(data, record.sequence, totalBytes, record.state, description != nullptr ? description : "");
    else if (description != nullptr)
        send(record.sequence, totalBytes, record.state, description, data);
    else
        send(record.sequence, totalBytes, record.state, data);
}

void showOwnMessages()
{
    if (!kxMessageFilter::passes(kTraceLevel)) kxMessageFilter::setLevel(kTraceLevel);
}

void reportAtEnd()
{
    if (!kxMemCheck::isTracking()) return;
    showOwnMessages();  // the program may have raised the level meanwhile
    kxMemCheck::report();
}

}  // namespace

constinit std::atomic<std::uint32_t> kxMemCheck::differences_{kxMemCheck::FRESH};

// A trace line: its values are taken under the mutex, and it is sent when that is free again.
struct kxMemCheck::Line {
    kxMemoryEntry entry;
    std::uint64_t totalBytes = 0;

    void send(const LineFormat& format) const
    {
        const bool isWanted = isTraced.load(std::memory_order_relaxed) && isRecording();
        if (!isWanted) return;
        const kxMemoryRecord& record = entry.record;
        const char* const data = entry.texts.data;
        tell(kTraceLevel, data != nullptr ? format.withText : format.plain, record.thread, record.sizeBytes,
             record.address, entry.index, record.sequence, totalBytes, data != nullptr ? data : kUnknownData);
    }
};

void kxMemCheck::setTracking(bool on)
{
    begin();
    const kxBodyGuard guard(mutex.value);
    switchTracking(on);
}

bool kxMemCheck::isTracking()
{
    begin();
    return differsBy(TRACKING);
}

void kxMemCheck::setTrace(bool on)
{
    begin();
    isTraced.store(on, std::memory_order_relaxed);
}

void kxMemCheck::setCompact(bool on)
{
    begin();
    isCompact.store(on, std::memory_order_relaxed);
}

void kxMemCheck::setThreadState(std::int32_t state) noexcept
{
    stateOfThread = state;
}

void kxMemCheck::leaveThisThreadOut() noexcept
{
    isThreadLeftOut = true;
}

void kxMemCheck::describe(const void* block, const char* data, const char* description)
{
    if (!differsBy(RECORDS) || isThreadLeftOut) return;
    const kxBodyGuard guard(mutex.value);
    table.setTexts(addressOf(block), {data, description});
}

void kxMemCheck::report()
{
    // The records are copied first, since messages are not sent under the mutex.
    std::unique_ptr<kxMemoryEntry[]> lost;
    std::uint32_t count = 0;
    std::uint64_t totalBytes = 0;
    bool isCopied = true;
    {
        const kxBodyGuard guard(mutex.value);
        totalBytes = table.totalBytes();
        if (table.liveCount() != 0) {
            lost.reset(new (std::nothrow) kxMemoryEntry[table.liveCount()]);
            isCopied = lost != nullptr;
            if (isCopied) count = table.copyLive(lost.get());
        }
    }
    tell(kReportLevel, kReportBegin);
    for (std::uint32_t at = 0; at < count; ++at) tellLost(lost[at], totalBytes);
    if (!isCopied) tell(kReportLevel, "No memory to list %u bytes\n", totalBytes);
    tell(kReportLevel, kReportEnd);
}

bool kxMemCheck::setAllocator(kxMemoryAllocatorInterface& replacement)
{
    const kxBodyGuard guard(mutex.value);
    if (!differsBy(FRESH)) return false;
    allocator.store(&replacement);
    setDifference(INSTALLED, true);
    return true;
}

void kxMemCheck::setDifference(Difference difference, bool on) noexcept
{
    if (on)
        differences_.fetch_or(difference, std::memory_order_relaxed);
    else
        differences_.fetch_and(~std::uint32_t{difference}, std::memory_order_relaxed);
}

void* kxMemCheck::allocate(std::size_t sizeBytes)
{
    beginAllocating();
    void* const block = allocator.load()->allocate(roomFor(sizeBytes));
    if (block != nullptr && isRecording()) record(block, sizeBytes);
    return block;
}

// The record goes before the block does, whose address may be another thread's at once.
void* kxMemCheck::reallocate(void* block, std::size_t sizeBytes)
{
    beginAllocating();
    Line line;
    const bool wasRecorded = block != nullptr && take(block, line);
    void* const grown = allocator.load()->reallocate(block, roomFor(sizeBytes));
    if (grown == nullptr) {
        if (wasRecorded) putBack(line.entry);
        return nullptr;
    }
    if (wasRecorded) line.send(lineFormats().freed);
    if (wasRecorded || isRecording()) record(grown, sizeBytes, line.entry.texts);
    return grown;
}

void kxMemCheck::free(void* block) noexcept
{
    Line line;
    if (block != nullptr && take(block, line)) line.send(lineFormats().freed);
    allocator.load()->free(block);
}

// Sets the tracker up on its first use. What needs locks of the system comes before the mutex is taken.
void kxMemCheck::begin()
{
    if (validity.load(std::memory_order_acquire) == kValid) return;
    static constinit kxPlatformForkGuard guard{
        .before = [] { mutex.value.lock(); }, .after = [] { mutex.value.unlock(); }, .isInnermost = true};
    [[maybe_unused]] static const bool isGuarded = (kxPlatformAddForkGuard(guard), true);
    const kxBodyGuard body(mutex.value);
    if (validity.load(std::memory_order_relaxed) == kValid) return;
    applyEnvironment();
    validity.store(kValid, std::memory_order_release);
}

void kxMemCheck::beginAllocating()
{
    if (!differsBy(FRESH) || isThreadLeftOut) return;
    begin();
    const kxBodyGuard guard(mutex.value);
    setDifference(FRESH, false);
}

void kxMemCheck::applyEnvironment()
{
    constexpr struct {
        std::string_view value;
        bool isTraced, isCompact;
    } kSettings[] = {{"yes", false, false}, {"trace", true, false}, {"compact", true, true}};
    const char* const setting = kxPlatformEnvironment(kVariable);
    if (setting == nullptr) return;
    for (const auto& row : kSettings) {
        if (row.value != setting) continue;
        isTraced.store(row.isTraced, std::memory_order_relaxed);
        isCompact.store(row.isCompact, std::memory_order_relaxed);
        switchTracking(true);
    }
}

// Under the mutex.
void kxMemCheck::switchTracking(bool on)
{
    setDifference(TRACKING, on);
    setDifference(RECORDS, on || table.liveCount() != 0);
    if (!on) return;
    showOwnMessages();
    kxPlatformAtEnd(reportAtEnd);
}

bool kxMemCheck::isRecording()
{
    return differsBy(TRACKING) && !isThreadLeftOut && !kxUntrackedScope::isInside() &&
           validity.load(std::memory_order_relaxed) == kValid;
}

void kxMemCheck::record(const void* block, std::size_t sizeBytes, const kxMemoryTexts& texts)
{
    Line line{{{addressOf(block), sizeBytes, kxPlatformThreadId(), 0, stateOfThread}, texts}};
    {
        const kxBodyGuard guard(mutex.value);
        if (!table.hasRoom() && !makeTable()) return;
        line.entry.record.sequence = table.nextSequence();
        const auto index = table.add(line.entry.record, texts);
        if (!index) return;
        line.entry.index = *index;
        line.entry.texts = {};  // a line about an allocation shows none
        line.totalBytes = table.totalBytes();
        setDifference(RECORDS, true);
    }
    line.send(lineFormats().allocated);
}

// The table is itself no tracked block.
bool kxMemCheck::makeTable()
{
    const kxUntrackedScope scope;
    void* const room = allocator.load()->allocate(kxMemoryTable::kRoomBytes);
    if (room != nullptr) table.setRoom(room);
    return room != nullptr;
}

// Answers whether the block was recorded.
bool kxMemCheck::take(const void* block, Line& line)
{
    if (!differsBy(RECORDS) || isThreadLeftOut) return false;
    const kxBodyGuard guard(mutex.value);
    const auto entry = table.take(addressOf(block));
    if (!entry) return false;
    line = {*entry, table.totalBytes()};
    if (table.liveCount() == 0 && !differsBy(TRACKING)) setDifference(RECORDS, false);
    return true;
}

void kxMemCheck::putBack(const kxMemoryEntry& entry)
{
    const kxBodyGuard guard(mutex.value);
    if (table.add(entry.record, entry.texts)) setDifference(RECORDS, true);
}
