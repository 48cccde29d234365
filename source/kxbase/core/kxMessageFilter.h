// Decides which messages are worth building: one word that every sender can look at without a call.
//
// The message manager sets it. Until there is one everything passes, so that the first message makes it.
//
// Threads: constant-initialised; every operation may be called from any thread, also before main and after it.
#pragma once

#include "kxbase/core/kxMessageLevel.h"

#include <atomic>

class kxMessageFilter {
public:
    kxMessageFilter() = delete;

    // Whether a message of this level, flags included, is wanted: it is not below the set level, and not from
    // inside the library while that was not asked for.
    static bool passes(std::uint32_t level) noexcept
    {
        const std::uint64_t set = set_.load(std::memory_order_relaxed);
        return level >= (set & (kOff | KX_MESSAGE_SET_LEVEL_MASK)) &&
               (level & ~set & KX_MESSAGE_INTERNAL) == 0;
    }

    static std::uint32_t level() noexcept
    {
        return static_cast<std::uint32_t>(set_.load(std::memory_order_relaxed));
    }
    static void setLevel(std::uint32_t level) noexcept { replace(kOff, level); }
    // While messaging is off nothing passes.
    static void setEnabled(bool enabled) noexcept { replace(~kOff, enabled ? 0 : kOff); }

private:
    static constexpr std::uint64_t kOff = std::uint64_t{1} << 63;  // above every level

    static void replace(std::uint64_t kept, std::uint64_t bits) noexcept
    {
        std::uint64_t set = set_.load(std::memory_order_relaxed);
        while (!set_.compare_exchange_weak(set, (set & kept) | bits, std::memory_order_relaxed)) {
        }
    }

    static inline constinit std::atomic<std::uint64_t> set_{KX_MESSAGE_INTERNAL};
};
