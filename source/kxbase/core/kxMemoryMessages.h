// What the memory check says: the lines of its trace and of its report, in words or in bare numbers.
//
// Lines are built from, in this order: the thread's id, the size, the address, the index of the record (trace) or
// nothing (report), the sequence number, the total of bytes, the thread's state (report). Where nobody has said
// anything of a block, its data is "?".
//
// Threads: every function may be called from any thread. No lock may be held, since receivers of messages run; but
//          lines of the trace wait until the end of a kxQuietScope. What is allocated on the way is not recorded.
// Errors:  what a receiver throws is dropped, and the thread is not cancelled meanwhile. A receiver that ends its
//          thread from within unwinds the caller.
#pragma once

#include "kxbase/core/kxMemoryRecord.h"

#include <span>

class kxMemoryMessages {
public:
    kxMemoryMessages() = delete;

    static void setCompact(bool on);
    // Lowers the message level to that of these messages, unless they are shown already.
    static void show();

    static void tellAllocated(const kxMemoryEntry& entry);
    static void tellFreed(const kxMemoryEntry& entry);
    // So many lines of the trace had no room while they were held back.
    static void tellLeftOut(std::uint32_t lines);
    // The whole report.
    static void tellLost(std::span<const kxMemoryEntry> lost);
    // The report where there is no memory for its list.
    static void tellLost(std::uint64_t totalBytes);
};
