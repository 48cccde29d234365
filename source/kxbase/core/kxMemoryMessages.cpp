#include "kxbase/core/kxMemoryMessages.h"

#include "kxbase/core/kxDropExceptions.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxQuietScope.h"
#include "kxbase/core/kxUntrackedScope.h"
#include "kxbase/platform/kxPlatformThread.h"

#include <atomic>
#include <string_view>

namespace {

constexpr std::uint32_t kTraceLevel = KX_MESSAGE_MEMORY | KX_MESSAGE_INTERNAL;
constexpr std::uint32_t kReportLevel = kTraceLevel | KX_MESSAGE_UNTRANSLATED;
constexpr const char* kUnknownData = "?";

constexpr const char* kReportBegin =
    "-- Korvex3D Lost Memory Report ----------------------------------------------\n";
constexpr const char* kReportEnd =
    "-- End of Lost Memory Report -----------------------------------------------\n";

// The values of a trace line are thread, size, address, index, sequence number, total and data; those of a report
// line are thread, size, address, data, sequence number, total, state and description.
struct Formats {
    const char* allocated;
    const char* freed;
    const char* freedWithData;
    const char* lost;
    const char* lostWithDescription;
};
constexpr Formats kWords = {
    "--!! (Thread:0x%x) Malloc %u bytes at 0x%x (index:%u) (count:%u) (tot:%u)\n",
    "--!! (Thread:0x%x) Free %u bytes at 0x%x (index:%u) (count:%u) (tot:%u)\n",
    "--!! (Thread:0x%x) Free %u bytes at 0x%x (index:%u) (count:%u) (tot:%u)->%s\n",
    "!! (thread:0x%x) Lost mem %u bytes at 0x%x (data:%s) (count:%u) (tot:%u) (state:%d)\n",
    "!! (thread:0x%x) Lost mem %u bytes at 0x%x (data:%s) (count:%u) (tot:%u) (state:%d) -> %s\n",
};
constexpr Formats kNumbers = {
    "M %u %u %u %u %u %u ?\n",
    "F %u %u %u %u %u %u ?\n",
    "F %u %u %u %u %u %u %s\n",
    "L %1$u %2$u %3$u %5$u %6$u %7$d * %4$s\n",
    "L %1$u %2$u %3$u %5$u %6$u %7$d %8$s %4$s\n",
};

constinit std::atomic<bool> isCompact{false};

const Formats& formats()
{
    return isCompact.load(std::memory_order_relaxed) ? kNumbers : kWords;
}

// Whoever allocates or frees may be in the middle of anything, where its thread must not be ended.
class CancelDelay {
public:
    CancelDelay() : wasAllowed_(kxPlatformThreadAllowCancel(false)) {}
    ~CancelDelay() { kxPlatformThreadAllowCancel(wasAllowed_); }
    CancelDelay(const CancelDelay&) = delete;
    CancelDelay& operator=(const CancelDelay&) = delete;

private:
    const bool wasAllowed_;
};

// What a message costs or a receiver throws must not touch whoever allocates.
template <typename... Arguments>
void tell(std::uint32_t level, std::string_view format, const Arguments&... arguments)
{
    const kxUntrackedScope scope;
    const CancelDelay delay;
    kxDropExceptions([&] { kxMessage(level, format, arguments...); });
}

void tellTrace(const char* format, const kxMemoryEntry& entry)
{
    const kxMemoryRecord& record = entry.record;
    tell(kTraceLevel, format, record.thread, record.sizeBytes, record.address, entry.index, record.sequence,
         entry.totalBytes, record.texts().data);
}

void tellLostBlock(const Formats& formats, const kxMemoryEntry& entry)
{
    const kxMemoryRecord& record = entry.record;
    const auto [data, description] = record.texts();
    const char* const format = description != nullptr ? formats.lostWithDescription : formats.lost;
    tell(kReportLevel, format, record.thread, record.sizeBytes, record.address,
         data != nullptr ? data : kUnknownData, record.sequence, entry.totalBytes, record.state, description);
}

}  // namespace

void kxMemoryMessages::setCompact(bool on)
{
    isCompact.store(on, std::memory_order_relaxed);
}

void kxMemoryMessages::show()
{
    kxMessageFilter::lowerTo(kTraceLevel);
}

void kxMemoryMessages::tellAllocated(const kxMemoryEntry& entry)
{
    if (kxQuietScope::hold(entry, tellAllocated)) return;
    tellTrace(formats().allocated, entry);
}

void kxMemoryMessages::tellFreed(const kxMemoryEntry& entry)
{
    if (kxQuietScope::hold(entry, tellFreed)) return;
    const bool hasData = entry.record.texts().data != nullptr;
    tellTrace(hasData ? formats().freedWithData : formats().freed, entry);
}

void kxMemoryMessages::tellLeftOut(std::uint32_t lines)
{
    tell(kTraceLevel, "--!! (Thread:0x%x) %u lines left out\n", kxPlatformThreadId(), lines);
}

void kxMemoryMessages::tellLost(std::span<const kxMemoryEntry> lost)
{
    const Formats& chosen = formats();
    tell(kReportLevel, kReportBegin);
    for (const kxMemoryEntry& entry : lost) tellLostBlock(chosen, entry);
    tell(kReportLevel, kReportEnd);
}

void kxMemoryMessages::tellLost(std::uint64_t totalBytes)
{
    tell(kReportLevel, kReportBegin);
    tell(kReportLevel, "No memory to list %u bytes\n", totalBytes);
    tell(kReportLevel, kReportEnd);
}
