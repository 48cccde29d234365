#include "kxbase/core/kxMemCheck.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxForkGuard.h"
#include "kxbase/core/kxMemoryMessages.h"
#include "kxbase/core/kxQuietScope.h"
#include "kxbase/core/kxUndestroyed.h"
#include "kxbase/core/kxUntrackedScope.h"
#include "kxbase/platform/kxPlatformEnd.h"
#include "kxbase/platform/kxPlatformEnvironment.h"
#include "kxbase/platform/kxPlatformMemory.h"
#include "kxbase/platform/kxPlatformThread.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>

namespace {

constexpr const char* kVariable = "KORVEX_MEMORY_CHECK";
// Stands in the validity word once the tracker is set up. The word is the check against use before construction; the
// detour NOT_SET_UP says the same and lets allocations test everything with one load.
constexpr std::uint32_t kValid = 0xABCD1234;

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
constinit kxMemoryAllocatorInterface* installedAllocator = nullptr;  // stays as it is once it is installed

constinit kxUndestroyed<kxMutex> mutex;
constinit kxMemoryTable table;  // under the mutex
// The table has got its room, or has been refused it, which is not asked for again.
constinit std::atomic<bool> isRoomSettled{false};

constinit std::atomic<std::uint32_t> validity{0};
constinit std::atomic<bool> wasOn{false};
constinit std::atomic<bool> isTraced{false};
constinit thread_local std::int32_t stateOfThread = 0;
constinit thread_local bool isThreadLeftOut = false;

std::uint64_t addressOf(const void* block)
{
    return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(block));
}

void reportAtEnd()
{
    kxQuietScope::endAll();
    if (!kxMemCheck::isTracking()) return;
    kxMemoryMessages::show();  // the program may have raised the level meanwhile
    kxMemCheck::report();
}

}  // namespace

constinit std::atomic<std::uint32_t> kxMemCheck::detours_{kxMemCheck::NOT_SET_UP |
                                                          kxMemCheck::NOTHING_ALLOCATED};

void kxMemCheck::setTracking(bool on)
{
    setUp();
    const kxBodyGuard guard(mutex.value);
    switchTracking(on);
}

bool kxMemCheck::isTracking()
{
    setUp();
    return has(TRACKING);
}

bool kxMemCheck::wasTracking()
{
    setUp();
    return wasOn.load(std::memory_order_relaxed);
}

void kxMemCheck::setTrace(bool on)
{
    setUp();
    isTraced.store(on, std::memory_order_relaxed);
}

void kxMemCheck::setCompact(bool on)
{
    setUp();
    kxMemoryMessages::setCompact(on);
}

void kxMemCheck::setThreadState(std::int32_t state) noexcept
{
    stateOfThread = state;
}

void kxMemCheck::leaveThisThreadOut() noexcept
{
    isThreadLeftOut = true;
}

void kxMemCheck::describe(const void* block, const kxMemoryTexts& texts)
{
    if (!has(HAS_RECORDS) || isThreadLeftOut) return;
    const kxBodyGuard guard(mutex.value);
    table.setTexts(addressOf(block), texts);
}

// The records are copied, since messages are not sent under the mutex, to room that is got before it is taken; when
// there are more of them by then, once more.
void kxMemCheck::report()
{
    const kxUntrackedScope scope;
    std::unique_ptr<kxMemoryEntry[]> lost;
    std::uint32_t room = 0;
    for (;;) {
        std::uint32_t count = 0;
        std::uint64_t totalBytes = 0;
        {
            const kxBodyGuard guard(mutex.value);
            count = table.liveCount();
            totalBytes = table.totalBytes();
            if (count <= room) table.copyLive(lost.get());
        }
        if (count <= room) return kxMemoryMessages::tellLost({lost.get(), count});
        room = std::min(count * 2, kxMemoryTable::kRecords);
        lost.reset(new (std::nothrow) kxMemoryEntry[room]);
        if (lost == nullptr) return kxMemoryMessages::tellLost(totalBytes);
    }
}

// Decided by one exchange, since a thread that never waits may be allocating.
bool kxMemCheck::setAllocator(kxMemoryAllocatorInterface& replacement)
{
    const kxBodyGuard guard(mutex.value);
    if (has(OWN_ALLOCATOR)) return false;
    installedAllocator = &replacement;
    std::uint32_t detours = detours_.load(std::memory_order_relaxed);
    while ((detours & NOTHING_ALLOCATED) != 0)
        if (detours_.compare_exchange_weak(detours, detours | OWN_ALLOCATOR, std::memory_order_release))
            return true;
    installedAllocator = nullptr;  // nobody has looked at it without OWN_ALLOCATOR
    return false;
}

kxMemoryAllocatorInterface& kxMemCheck::allocator()
{
    if (has(OWN_ALLOCATOR)) return *installedAllocator;
    return runtimeAllocator.value;
}

void kxMemCheck::setDetour(Detour detour, bool on) noexcept
{
    if (on)
        detours_.fetch_or(detour, std::memory_order_release);
    else
        detours_.fetch_and(~std::uint32_t{detour}, std::memory_order_release);
}

void* kxMemCheck::allocate(std::size_t sizeBytes)
{
    setUpToAllocate();
    void* const block = allocator().allocate(roomFor(sizeBytes));
    if (block != nullptr && isRecording()) record(block, sizeBytes, 0);
    return block;
}

// The record goes before the block does, whose address may be another thread's at once.
void* kxMemCheck::reallocate(void* block, std::size_t sizeBytes)
{
    setUpToAllocate();
    kxMemoryEntry before;
    const bool wasRecorded = take(block, &before);
    void* const grown = allocator().reallocate(block, roomFor(sizeBytes));
    if (grown == nullptr) {
        if (wasRecorded) putBack(before);
        return nullptr;
    }
    if (wasRecorded && isTracing()) kxMemoryMessages::tellFreed(before);
    if (wasRecorded || isRecording()) record(grown, sizeBytes, before.record.textsAddress);
    return grown;
}

void kxMemCheck::free(void* block) noexcept
{
    // What was recorded is copied out for the trace only: every other free goes without.
    if (isTracing()) {
        kxMemoryEntry freed;
        if (take(block, &freed)) kxMemoryMessages::tellFreed(freed);
    } else {
        take(block, nullptr);
    }
    allocator().free(block);
}

// Sets the tracker up on its first use. What needs locks of the system comes before the mutex is taken.
void kxMemCheck::setUp()
{
    if (validity.load(std::memory_order_acquire) == kValid) return;
    static const kxForkGuard guard(
        {.before = [] { mutex.value.lock(); }, .after = [] { mutex.value.unlock(); }, .isInnermost = true});
    const kxBodyGuard body(mutex.value);
    if (validity.load(std::memory_order_relaxed) == kValid) return;
    applyEnvironment();
    validity.store(kValid, std::memory_order_release);
    setDetour(NOT_SET_UP, false);
}

// A thread that is left out leaves the setting up to the others, but its blocks need their allocator too.
void kxMemCheck::setUpToAllocate()
{
    if (has(NOT_SET_UP) && !isThreadLeftOut) setUp();
    if (has(NOTHING_ALLOCATED)) setDetour(NOTHING_ALLOCATED, false);
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
        kxMemoryMessages::setCompact(row.isCompact);
        switchTracking(true);
    }
}

// Under the mutex.
void kxMemCheck::switchTracking(bool on)
{
    setDetour(TRACKING, on);
    setDetour(HAS_RECORDS, on || table.liveCount() != 0);
    if (!on) return;
    wasOn.store(true, std::memory_order_relaxed);
    kxMemoryMessages::show();
    kxPlatformAtEnd(reportAtEnd);
}

// TRACKING is set a moment before the word is, by the environment; the table waits for the word.
bool kxMemCheck::isRecording()
{
    return has(TRACKING) && !isThreadLeftOut && !kxUntrackedScope::isInside() &&
           validity.load(std::memory_order_relaxed) == kValid;
}

bool kxMemCheck::isTracing()
{
    return isTraced.load(std::memory_order_relaxed) && isRecording();
}

void kxMemCheck::record(const void* block, std::size_t sizeBytes, std::uint64_t textsAddress)
{
    if (!isRoomSettled.load(std::memory_order_relaxed)) makeTable();
    const kxMemoryRecord record = {.address = addressOf(block),
                                   .sizeBytes = sizeBytes,
                                   .thread = kxPlatformThreadId(),
                                   .state = stateOfThread,
                                   .textsAddress = textsAddress};
    kxMemoryEntry added;
    const bool isTold = isTracing();
    {
        const kxBodyGuard guard(mutex.value);
        if (!table.add(record, isTold ? &added : nullptr)) return;
        if (!has(HAS_RECORDS)) setDetour(HAS_RECORDS, true);
    }
    if (isTold) kxMemoryMessages::tellAllocated(added);
}

// The table is itself no tracked block. Of two threads that make one, the second gives its own back.
void kxMemCheck::makeTable()
{
    const kxUntrackedScope scope;
    void* const records = allocator().allocate(kxMemoryTable::kRoomBytes);
    void* const index = records != nullptr ? std::calloc(1, sizeof(kxMemoryIndex)) : nullptr;
    if (index != nullptr) {
        // A free finds its slot and its record anywhere in here.
        kxPlatformAdviseLargePages(records, kxMemoryTable::kRoomBytes);
        kxPlatformAdviseLargePages(index, sizeof(kxMemoryIndex));
        const kxBodyGuard guard(mutex.value);
        if (!table.hasRoom()) {
            table.setRoom(records, static_cast<kxMemoryIndex*>(index));
            isRoomSettled.store(true, std::memory_order_relaxed);
            return;
        }
    }
    isRoomSettled.store(true, std::memory_order_relaxed);
    allocator().free(records);
    std::free(index);
}

// Forgets what was recorded of the block.
bool kxMemCheck::take(const void* block, kxMemoryEntry* taken)
{
    if (block == nullptr || !has(HAS_RECORDS) || isThreadLeftOut) return false;
    const kxBodyGuard guard(mutex.value);
    const bool wasRecorded = table.take(addressOf(block), taken);
    if (table.liveCount() == 0 && !has(TRACKING)) setDetour(HAS_RECORDS, false);
    return wasRecorded;
}

void kxMemCheck::putBack(const kxMemoryEntry& entry)
{
    const kxBodyGuard guard(mutex.value);
    table.putBack(entry);
    setDetour(HAS_RECORDS, true);
}
