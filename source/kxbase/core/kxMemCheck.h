// The memory check: records every allocation of kxTrackedAllocate while it is on, tells of them as they come and go
// if asked, and lists at the end of the process what was not freed. (kxMemoryCheck is the base of objects that it
// leaves out.)
//
// The environment variable KORVEX_MEMORY_CHECK switches it on for the whole run: "yes" for the report, "trace" for a
// message at each allocation and free as well, "compact" for the same in lines of bare numbers. Switching it on
// lowers the message level to Internal Memory, at which its messages are sent, unless that level is shown already;
// switching it off leaves the level there, so that report() is seen.
// The report comes after all destructors of static objects and exit handlers; not after _exit, quick_exit or a
// signal. A process that has forked reports for itself, with what it took over from its parent.
//
// Recorded are at most 1,000,000 blocks at a time. A block that was recorded stays so until it is freed, whether
// the check is on by then or not; reallocating counts as a free and an allocation.
//
// The total of bytes is that of all blocks allocated while the check was on, with a record or without, less those
// of the recorded blocks that were freed. What the lines hold is told by kxMemoryMessages.
//
// Threads: every function may be called from any thread, also before main and after it. One mutex guards the records;
//          under it no allocator runs and nothing is sent. What is allocated while one of the check's own messages
//          is on its way, by its receivers too, is not recorded; around all other messages it is.
//          A line of the trace is sent by the thread that allocates or frees: at once, but from under a lock of the
//          library when that is free again, and from inside a receiver when the outermost message is delivered
//          (kxQuietScope). A receiver of the trace may use what the library locks, but not an object without a lock
//          that others use too, and which it may come upon in the middle of a change. It must not wait for another
//          thread, which may itself be waiting for the receiver: it must not join or stop a kxThread, remove a
//          ticker from a kxThreadPoolTicker or destroy the pool; it must not deliver, by kxNotifyManager::deliver or
//          a post, nor unsubscribe or destroy a kxNotifyManager or a subscriber of one.
// Errors:  tracking never fails an allocation: what cannot be recorded stays untracked, and so does everything when
//          the 40 MB of the records cannot be had at the first allocation. A receiver of trace messages
//          that ends its thread while it is told of a free, or of what was held back, ends the process.
#pragma once

#include "kxbase/core/kxMemoryAllocatorInterface.h"
#include "kxbase/core/kxMemoryTable.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

class kxMemCheck {
public:
    kxMemCheck() = delete;

    static void setTracking(bool on);
    static bool isTracking();
    // Whether tracking is or has ever been on.
    static bool wasTracking();
    // Messages for each allocation and free, while tracking is on.
    static void setTrace(bool on);
    static void setCompact(bool on);
    // The value that records of the calling thread carry from now on; 0 at first.
    static void setThreadState(std::int32_t state) noexcept;
    // From now on the calling thread never waits for the records: what it allocates is not recorded, and what it
    // frees may stay listed. For a thread that must go on whatever has become of the others.
    static void leaveThisThreadOut() noexcept;
    // What lines about a recorded block are to say, also when it has been reallocated. Kept is the address of the
    // struct: it and the texts in it must outlive the block, its last line and a report that runs meanwhile, constants
    // as a rule.
    static void describe(const void* block, const kxMemoryTexts& texts);
    static void describe(const void* block, kxMemoryTexts&& texts) = delete;
    // Sends the lost-memory report with what is recorded now.
    static void report();

    // Replaces the C library as the source of tracked memory. False, and nothing is changed, where that has been
    // done before, and after the first tracked allocation.
    static bool setAllocator(kxMemoryAllocatorInterface& allocator);

private:
    friend void* kxTrackedAllocate(std::size_t, const char*, std::uint32_t);
    friend void* kxTrackedReallocate(void*, std::size_t, const char*, std::uint32_t);
    friend void kxTrackedFree(void*) noexcept;

    // What keeps tracked memory from being a plain call of the C library.
    enum Detour : std::uint32_t {
        NONE = 0,
        NOT_SET_UP = 1,         // the tracker has not been used
        NOTHING_ALLOCATED = 2,  // no tracked allocation has come yet, and an allocator may be installed
        TRACKING = 4,           // tracking is on
        HAS_RECORDS = 8,        // blocks may be recorded
        OWN_ALLOCATOR = 16,     // the program has installed one
    };

    // A load that sees a detour also sees what was stored before the detour was set, such as the allocator.
    static bool hasNoDetour() noexcept { return detours_.load(std::memory_order_acquire) == NONE; }
    static bool has(Detour detour) noexcept
    {
        return (detours_.load(std::memory_order_acquire) & detour) != 0;
    }
    static void setDetour(Detour detour, bool on) noexcept;

    // Blocks of no bytes have an address of their own too.
    static std::size_t roomFor(std::size_t sizeBytes) noexcept { return sizeBytes != 0 ? sizeBytes : 1; }

    static void* allocate(std::size_t sizeBytes);
    static void* reallocate(void* block, std::size_t sizeBytes);
    static void free(void* block) noexcept;

    static void setUp();
    static void setUpToAllocate();
    static kxMemoryAllocatorInterface& allocator();
    static void applyEnvironment();
    static void switchTracking(bool on);
    static bool isRecording();
    static bool isTracing();
    static void record(const void* block, std::size_t sizeBytes, std::uint64_t textsAddress);
    static void makeTable();
    static bool take(const void* block, kxMemoryEntry* taken);
    static void putBack(const kxMemoryEntry& entry);

    static constinit std::atomic<std::uint32_t> detours_;
};
