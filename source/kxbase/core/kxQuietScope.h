// While such an object lives, the lines of the memory check's trace that the calling thread causes are held back. They
// are sent, in their order, when the outermost one goes. For code under a lock, which a receiver of messages may want
// too, or wait for a thread that does; kxQuietGuard does both. The delivery of a message is such a scope.
//
// Threads: concerns the calling thread alone; scopes nest. A forked child sends nothing of what its parent held.
// Errors:  held back are at most KX_MOST_HELD_LINES lines; for those beyond, and those that there is no memory for, one
//          more line says how many they were.
#pragma once

#include "kxbase/core/kxMemoryRecord.h"

inline constexpr std::uint32_t KX_MOST_HELD_LINES = 16384;

class kxQuietScope {
public:
    kxQuietScope() noexcept { ++state_.depth; }
    ~kxQuietScope()
    {
        if (state_.depth != 0 && --state_.depth == 0 && state_.hasHeld) [[unlikely]]
            sendHeld();
    }
    kxQuietScope(const kxQuietScope&) = delete;
    kxQuietScope& operator=(const kxQuietScope&) = delete;

    // Inside a scope takes a line in, to be sent later, and answers true.
    static bool hold(const kxMemoryEntry& entry, void (*tell)(const kxMemoryEntry&)) noexcept;
    // Ends the scopes that the process leaves open in the thread that ends it.
    static void endAll() noexcept;

private:
    struct State {
        std::uint32_t depth;
        bool hasHeld;
    };

    static void sendHeld() noexcept;

    // Trivial, so that it is there until the thread's very end.
    static inline constinit thread_local State state_{0, false};
};
