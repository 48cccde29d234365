// What the memory check says: the lines of its trace and of its report, in words or in bare numbers.
//
// In words and in numbers, each kind of line; the data is "?" where nobody has said anything of the block:
//
//   allocated   --!! (Thread:0x1a2b) Malloc 24 bytes at 0x55d0c8 (index:1) (count:7) (tot:124)
//               M 6699 24 5624008 1 7 124 ?
//   freed       --!! (Thread:0x1a2b) Free 24 bytes at 0x55d0c8 (index:1) (count:7) (tot:100)->data
//               F 6699 24 5624008 1 7 100 data
//   lost        !! (thread:0x1a2b) Lost mem 24 bytes at 0x55d0c8 (data:texture) (count:7) (tot:124) (state:-3) -> text
//               L 6699 24 5624008 7 124 -3 text texture
//
// That is: thread, bytes, address, index of the record (trace only), sequence number, total of bytes, the thread's
// state and the description (report only), data. Without data the line of a free in words ends before "->"; without
// a description that of a lost block ends before " -> ", and in numbers it has "*" there.
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
