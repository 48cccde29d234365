#include "kxbase/core/kxQuietScope.h"

#include "kxbase/core/kxMemoryMessages.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/platform/kxPlatformThread.h"

#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace {

struct Line {
    kxMemoryEntry entry;
    void (*tell)(const kxMemoryEntry&);
};
using Lines = std::vector<Line>;

// What the calling thread holds back.
struct Held {
    Lines* lines = nullptr;
    std::uint32_t leftOut = 0;
    const char* badAllocFile = nullptr;  // null where no allocation has failed
    std::uint32_t badAllocLine = 0;
};
constinit thread_local Held held;

bool keep(const Line& line) noexcept
{
    if (held.lines != nullptr && held.lines->size() == KX_MOST_HELD_LINES) return false;
    try {
        if (held.lines == nullptr) held.lines = new Lines;
        held.lines->push_back(line);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace

bool kxQuietScope::hold(const kxMemoryEntry& entry, void (*tell)(const kxMemoryEntry&)) noexcept
{
    if (state_.depth == 0) return false;
    state_.hasHeld = true;
    if (!keep({entry, tell})) ++held.leftOut;
    return true;
}

bool kxQuietScope::holdBadAlloc(const char* file, std::uint32_t line) noexcept
{
    if (state_.depth == 0) return false;
    state_.hasHeld = true;
    if (held.badAllocFile == nullptr) {
        held.badAllocFile = file;
        held.badAllocLine = line;
    }
    return true;
}

// Receivers may come by here again. A destructor is no place for the thread to be ended.
void kxQuietScope::sendHeld() noexcept
{
    const bool wasCancelAllowed = kxPlatformThreadAllowCancel(false);
    state_.hasHeld = false;
    const Held sent = std::exchange(held, {});
    const std::unique_ptr<const Lines> lines(sent.lines);
    if (lines != nullptr)
        for (const Line& line : *lines) line.tell(line.entry);
    if (sent.leftOut != 0) kxMemoryMessages::tellLeftOut(sent.leftOut);
    if (sent.badAllocFile != nullptr) kxReportBadAlloc(sent.badAllocFile, sent.badAllocLine);
    kxPlatformThreadAllowCancel(wasCancelAllowed);
}
