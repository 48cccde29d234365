#include "kxbase/core/kxQuietScope.h"

#include "kxbase/core/kxForkCount.h"
#include "kxbase/core/kxMemoryMessages.h"
#include "kxbase/core/kxUntrackedScope.h"
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
    std::uint32_t forkCount = 0;
};
constinit thread_local Held held;

bool keep(const Line& line) noexcept
{
    const kxUntrackedScope scope;
    if (held.lines != nullptr && held.lines->size() == KX_MOST_HELD_LINES) return false;
    try {
        if (held.lines == nullptr) held.lines = new Lines;
        held.lines->push_back(line);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void release(const Lines* lines) noexcept
{
    const kxUntrackedScope scope;
    delete lines;
}

// What was held before a fork is the parent's to say.
void forgetInChild() noexcept
{
    const std::uint32_t forkCount = kxForkCount();
    if (held.forkCount == forkCount) return;
    release(held.lines);
    held = {.forkCount = forkCount};
}

}  // namespace

bool kxQuietScope::hold(const kxMemoryEntry& entry, void (*tell)(const kxMemoryEntry&)) noexcept
{
    if (state_.depth == 0) return false;
    forgetInChild();
    state_.hasHeld = true;
    if (!keep({entry, tell})) ++held.leftOut;
    return true;
}

void kxQuietScope::endAll() noexcept
{
    state_.depth = 0;
    if (state_.hasHeld) sendHeld();
}

// Receivers may come by here again. A destructor is no place for the thread to be ended.
void kxQuietScope::sendHeld() noexcept
{
    const bool wasCancelAllowed = kxPlatformThreadAllowCancel(false);
    state_.hasHeld = false;
    forgetInChild();
    const Held sent = std::exchange(held, {.forkCount = held.forkCount});
    if (sent.lines != nullptr)
        for (const Line& line : *sent.lines) line.tell(line.entry);
    if (sent.leftOut != 0) kxMemoryMessages::tellLeftOut(sent.leftOut);
    release(sent.lines);
    kxPlatformThreadAllowCancel(wasCancelAllowed);
}
