// Decides which messages are worth building: one word that every sender can look at without a call.
//
// The message manager sets it. While that has no receiver, the filter is open: everything passes, since any message
// makes the default receiver. The manager then asks isWanted().
//
// Threads: constant-initialised; every operation may be called from any thread, also before main and after it.
#pragma once

#include "kxbase/core/kxMessageLevel.h"

#include <atomic>

class kxMessageFilter {
public:
    kxMessageFilter() = delete;

    // Whether a message of this level, flags included, is worth building.
    static bool passes(std::uint32_t level) noexcept
    {
        return admits(set_.load(std::memory_order_relaxed), level);
    }
    // Whether it is not below the set level, and not from inside the library while that was not asked for.
    static bool isWanted(std::uint32_t level) noexcept
    {
        const std::uint64_t set = set_.load(std::memory_order_relaxed);
        return admits((set & kOff) | levelIn(set), level);
    }

    static std::uint32_t level() noexcept { return levelIn(set_.load(std::memory_order_relaxed)); }
    static void setLevel(std::uint32_t level) noexcept
    {
        replace([=](std::uint64_t set) { return word(set & (kOff | kOpen), level); });
    }
    // Lowers the level to this one unless messages of it are wanted already. Always a change of the word, so that of
    // two threads that lower and set it one sees what the other did before.
    static void lowerTo(std::uint32_t level) noexcept
    {
        replace([=](std::uint64_t set) {
            const std::uint64_t flags = set & (kOff | kOpen);
            return admits(levelIn(set), level) ? set : word(flags, level);
        });
    }
    // While messaging is off nothing passes.
    static void setEnabled(bool enabled) noexcept
    {
        replace([=](std::uint64_t set) { return word((set & kOpen) | (enabled ? 0 : kOff), levelIn(set)); });
    }
    static void setOpen(bool open) noexcept
    {
        replace([=](std::uint64_t set) { return word((set & kOff) | (open ? kOpen : 0), levelIn(set)); });
    }

private:
    static constexpr std::uint64_t kOff = std::uint64_t{1} << 63;  // above every level
    static constexpr std::uint64_t kOpen = std::uint64_t{1} << 62;
    // Messages are compared with the lowest 16 bits of the word. Those of the level that is set stand there as well
    // unless the filter is open, and always 32 bits higher; its upper bits, which nothing is compared with, stay
    // in their place.
    static constexpr std::uint32_t kCompared = 0xFFFF;
    static constexpr int kKeptShift = 32;
    static_assert((kCompared & KX_MESSAGE_SET_LEVEL_MASK) == KX_MESSAGE_SET_LEVEL_MASK);

    static constexpr std::uint64_t word(std::uint64_t flags, std::uint32_t level) noexcept
    {
        const std::uint32_t compared = (flags & kOpen) != 0 ? KX_MESSAGE_INTERNAL : level & kCompared;
        return flags | std::uint64_t{level & kCompared} << kKeptShift | (level & ~kCompared) | compared;
    }
    static constexpr std::uint32_t levelIn(std::uint64_t set) noexcept
    {
        return (static_cast<std::uint32_t>(set) & ~kCompared) |
               (static_cast<std::uint32_t>(set >> kKeptShift) & kCompared);
    }
    static bool admits(std::uint64_t set, std::uint32_t level) noexcept
    {
        return level >= (set & (kOff | KX_MESSAGE_SET_LEVEL_MASK)) &&
               (level & ~set & KX_MESSAGE_INTERNAL) == 0;
    }

    template <typename Change> static void replace(Change change) noexcept
    {
        std::uint64_t set = set_.load(std::memory_order_relaxed);
        while (!set_.compare_exchange_weak(set, change(set), std::memory_order_acq_rel,
                                           std::memory_order_relaxed)) {
        }
    }

    // word(kOpen, KX_MESSAGE_INTERNAL): every level is wanted until there is a manager.
    static inline constinit std::atomic<std::uint64_t> set_{
        kOpen | std::uint64_t{KX_MESSAGE_INTERNAL} << kKeptShift | KX_MESSAGE_INTERNAL};
};
