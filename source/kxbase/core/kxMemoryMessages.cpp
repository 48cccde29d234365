#include "kxbase/core/kxMemoryMessages.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxQuietScope.h"
#include "kxbase/core/kxUntrackedScope.h"
#include "kxbase/platform/kxPlatformThread.h"

#include <atomic>
#include <string_view>

#include <cxxabi.h>

namespace {

constexpr std::uint32_t kTraceLevel = KX_MESSAGE_MEMORY | KX_MESSAGE_INTERNAL;
constexpr std::uint32_t kReportLevel = kTraceLevel | KX_MESSAGE_UNTRANSLATED;
constexpr const char* kUnknownData = "?";

constexpr const char* kReportBegin =
    "-- Korvex3D Lost Memory Report ----------------------------------------------\n";
constexpr const char* kReportEnd =
    "-- End of Lost Memory Report -----------------------------------------------\n";

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
    "M %u %u %u %u %u %u ?\n",    "F %u %u %u %u %u %u ?\n",     "F %u %u %u %u %u %u %s\n",
    "L %u %u %u %u %u %d * %s\n", "L %u %u %u %u %u %d %s %s\n",
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
    try {
        kxMessage(level, format, arguments...);
    } catch (const abi::__forced_unwind&) {
        throw;  // the thread is ended from inside a receiver
    } catch (...) {
    }
}

template <typename... Texts>
void tellTrace(const char* format, const kxMemoryEntry& entry, const Texts&... texts)
{
    const kxMemoryRecord& record = entry.record;
    tell(kTraceLevel, format, record.thread, record.sizeBytes, record.address, entry.index, record.sequence,
         entry.totalBytes, texts...);
}

void tellLostBlock(const Formats& formats, const kxMemoryEntry& entry)
{
    const auto& [address, size, thread, count, state, reserved] = entry.record;
    const std::uint64_t total = entry.totalBytes;
    const kxMemoryTexts texts = entry.record.texts();
    const char* const data = texts.data != nullptr ? texts.data : kUnknownData;
    const char* const about = texts.description;
    const char* const format = about != nullptr ? formats.lostWithDescription : formats.lost;
    const bool isInWords = &formats == &kWords;
    if (isInWords && about != nullptr)
        tell(kReportLevel, format, thread, size, address, data, count, total, state, about);
    else if (isInWords)
        tell(kReportLevel, format, thread, size, address, data, count, total, state);
    else if (about != nullptr)
        tell(kReportLevel, format, thread, size, address, count, total, state, about, data);
    else
        tell(kReportLevel, format, thread, size, address, count, total, state, data);
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
    const char* const data = entry.record.texts().data;
    if (data == nullptr)
        tellTrace(formats().freed, entry);
    else
        tellTrace(formats().freedWithData, entry, data);
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
