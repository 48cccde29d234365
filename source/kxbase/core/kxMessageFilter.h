// Decides which messages are worth building: one word that every sender can look at without a call.
//
// The message manager sets it. While that has no receiver, everything passes, since any message makes the
// default receiver. The manager then asks isWanted().
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
        return admits(state_.load(std::memory_order_relaxed), level);
    }
    // Whether it is not below the set level, and not from inside the library while that was not asked for.
    static bool isWanted(std::uint32_t level) noexcept
    {
        const std::uint64_t state = state_.load(std::memory_order_relaxed);
        return admits((state & kOff) | levelOf(state), level);
    }

    static std::uint32_t level() noexcept { return levelOf(state_.load(std::memory_order_relaxed)); }
    static void setLevel(std::uint32_t level) noexcept
    {
        replace([=](std::uint64_t state) { return packed(state & (kOff | kNoReceiver), level); });
    }
    // Lowers the level to this one unless messages of it are wanted already. Always a change of the word, so that of
    // two threads that lower and set it one sees what the other did before.
    static void lowerTo(std::uint32_t level) noexcept
    {
        replace([=](std::uint64_t state) {
            const std::uint64_t flags = state & (kOff | kNoReceiver);
            return admits(levelOf(state), level) ? state : packed(flags, level);
        });
    }
    // While messaging is off nothing passes.
    static void setEnabled(bool enabled) noexcept
    {
        replace([=](std::uint64_t state) {
            return packed((state & kNoReceiver) | (enabled ? 0 : kOff), levelOf(state));
        });
    }
    static void setHasNoReceiver(bool hasNone) noexcept
    {
        replace([=](std::uint64_t state) {
            return packed((state & kOff) | (hasNone ? kNoReceiver : 0), levelOf(state));
        });
    }

private:
    // The state is one word:
    //   bit 63  off, which is above every level
    //   bit 62  no receiver
    //   32-47   the level's low half
    //   16-31   its upper half, which nothing is compared with
    //    0-15   what messages are compared with: the level's low half, or only KX_MESSAGE_INTERNAL without a receiver
    static constexpr std::uint64_t kOff = std::uint64_t{1} << 63;
    static constexpr std::uint64_t kNoReceiver = std::uint64_t{1} << 62;
    static constexpr int kLevelShift = 32;
    static constexpr std::uint32_t kThresholdMask = 0xFFFF;
    static_assert((kThresholdMask & KX_MESSAGE_SET_LEVEL_MASK) == KX_MESSAGE_SET_LEVEL_MASK);

    static constexpr std::uint64_t packed(std::uint64_t flags, std::uint32_t level) noexcept
    {
        const std::uint32_t threshold =
            (flags & kNoReceiver) != 0 ? KX_MESSAGE_INTERNAL : level & kThresholdMask;
        return flags | std::uint64_t{level & kThresholdMask} << kLevelShift | (level & ~kThresholdMask) |
               threshold;
    }
    static constexpr std::uint32_t levelOf(std::uint64_t state) noexcept
    {
        return (static_cast<std::uint32_t>(state) & ~kThresholdMask) |
               (static_cast<std::uint32_t>(state >> kLevelShift) & kThresholdMask);
    }
    static bool admits(std::uint64_t state, std::uint32_t level) noexcept
    {
        return level >= (state & (kOff | KX_MESSAGE_SET_LEVEL_MASK)) &&
               (level & ~state & KX_MESSAGE_INTERNAL) == 0;
    }

    template <typename Change> static void replace(Change change) noexcept
    {
        std::uint64_t state = state_.load(std::memory_order_relaxed);
        while (!state_.compare_exchange_weak(state, change(state), std::memory_order_acq_rel,
                                             std::memory_order_relaxed)) {
        }
    }

    // packed(kNoReceiver, KX_MESSAGE_INTERNAL): every level is wanted until there is a manager.
    static inline constinit std::atomic<std::uint64_t> state_{
        kNoReceiver | std::uint64_t{KX_MESSAGE_INTERNAL} << kLevelShift | KX_MESSAGE_INTERNAL};
};
