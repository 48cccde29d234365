// While such an object lives, what memory makes the calling thread say is held back: the lines of the memory check's
// trace, and "Bad Alloc:". It is sent, in its order, when the outermost one goes. For code under a lock, which a
// receiver of messages may want too, or wait for a thread that does; kxQuietGuard does both. The delivery of a message
// is such a scope.
//
// Threads: concerns the calling thread alone; scopes nest.
// Errors:  held back are at most KX_MOST_HELD_LINES lines; for those beyond, and those that there is no memory for, one
//          more line says how many they were. Of several failed allocations the first one is told.
#pragma once

#include "kxbase/core/kxMemoryRecord.h"

inline constexpr std::uint32_t KX_MOST_HELD_LINES = 16384;

class kxQuietScope {
public:
    kxQuietScope() noexcept { ++state_.depth; }
    ~kxQuietScope()
    {
        if (--state_.depth == 0 && state_.hasHeld) [[unlikely]]
            sendHeld();
    }
    kxQuietScope(const kxQuietScope&) = delete;
    kxQuietScope& operator=(const kxQuietScope&) = delete;

    // Inside a scope each takes a message in, to be sent later, and answers true.
    static bool hold(const kxMemoryEntry& entry, void (*tell)(const kxMemoryEntry&)) noexcept;
    static bool holdBadAlloc(const char* file, std::uint32_t line) noexcept;

private:
    struct State {
        std::uint32_t depth;
        bool hasHeld;
    };

    static void sendHeld() noexcept;

    // Trivial, so that it is there until the thread's very end.
    static inline constinit thread_local State state_{0, false};
};
