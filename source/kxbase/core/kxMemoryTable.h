// The records of the memory check: a flat array for 1,000,000 blocks. New blocks are appended; once the array has
// been filled to its end, each takes the first record that is free.
//
// Ownership: refers to its room, which is the owner's; it allocates nothing itself.
// Threads:   takes no lock; one thread at a time. Constant-initialised.
// Errors:    a block for which there is no record is not entered.
// Units:     bytes.
#pragma once

#include "kxbase/core/kxMemoryIndex.h"
#include "kxbase/core/kxNumberSet.h"

#include <cstddef>

class kxMemoryTable {
public:
    static constexpr std::uint32_t kRecords = 1000000;
    static constexpr std::size_t kRoomBytes = kRecords * sizeof(kxMemoryRecord);

    bool hasRoom() const noexcept { return records_ != nullptr; }
    // Takes room for the records, of kRoomBytes and aligned as malloc does, and the index that goes with them.
    void setRoom(void* records, kxMemoryIndex* index) noexcept;

    // Counts the bytes of a new block and, where a record is free, enters the block with the next sequence number.
    // Answers whether it did, and what it has entered to whoever asks with an entry.
    bool add(const kxMemoryRecord& record, kxMemoryEntry* added = nullptr) noexcept;
    // Releases the record of a block. Answers whether it has one, and what it was to whoever asks with an entry.
    bool take(std::uint64_t address, kxMemoryEntry* taken = nullptr) noexcept;
    // Counts and enters again what has been taken, as far as a record is free.
    void putBack(const kxMemoryEntry& entry) noexcept;
    // What lines about a block are to say, as kxMemCheck::describe.
    void setTexts(std::uint64_t address, const kxMemoryTexts& texts) noexcept;

    // Blocks in the table.
    std::uint32_t liveCount() const noexcept { return liveCount_; }
    // The bytes of all blocks that were added, whether there was a record or not, less those that were taken.
    std::uint64_t totalBytes() const noexcept { return totalBytes_; }
    // Copies the entries of all blocks, in the order of their records; answers how many.
    std::uint32_t copyLive(kxMemoryEntry* entries) const noexcept;

private:
    static_assert(kRecords <= kxMemoryIndex::kMostRecords);

    // Both answer kRecords when none is free.
    std::uint32_t freeRecord() const noexcept;
    std::uint32_t enter(const kxMemoryRecord& record) noexcept;
    kxMemoryEntry entryAt(std::uint32_t index) const noexcept;

    kxMemoryRecord* records_ = nullptr;
    kxMemoryIndex* index_ = nullptr;
    // Among the records used so far; finds at once what a scan of them would find.
    kxNumberSet<kRecords> free_;
    std::uint32_t usedCount_ = 0;  // records used so far, also those that are free again
    std::uint32_t liveCount_ = 0;
    std::uint32_t nextSequence_ = 0;
    std::uint64_t totalBytes_ = 0;
};
