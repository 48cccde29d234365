// The records of the memory check: a flat array for 1,000,000 blocks. New blocks are appended; once the array has
// been filled to its end, each takes the first record that is free.
//
// Ownership: refers to the room of the records. Its index and the texts are memory of the C library. Never
//            destroyed.
// Threads:   takes no lock; one thread at a time. Constant-initialised.
// Errors:    a block for which there is no record, or no memory for the index, is not entered.
// Units:     bytes.
#pragma once

#include "kxbase/core/kxMemoryIndex.h"
#include "kxbase/core/kxNumberSet.h"

#include <cstddef>
#include <optional>

class kxMemoryTable {
public:
    static constexpr std::uint32_t kRecords = 1000000;
    static constexpr std::size_t kRoomBytes = kRecords * sizeof(kxMemoryRecord);

    bool hasRoom() const noexcept { return records_ != nullptr; }
    // Takes room of kRoomBytes, aligned as malloc does.
    void setRoom(void* room) noexcept { records_ = static_cast<kxMemoryRecord*>(room); }

    // Enters a block that is not in the table and answers its index. Requires the room.
    std::optional<std::uint32_t> add(const kxMemoryRecord& record, const kxMemoryTexts& texts) noexcept;
    std::optional<kxMemoryEntry> take(std::uint64_t address) noexcept;
    // What lines about a block are to say, as kxMemCheck::describe.
    void setTexts(std::uint64_t address, const kxMemoryTexts& texts) noexcept;

    // A number for the next block.
    std::uint32_t nextSequence() noexcept { return nextSequence_++; }
    // Blocks in the table, and their bytes together.
    std::uint32_t liveCount() const noexcept { return liveCount_; }
    std::uint64_t totalBytes() const noexcept { return totalBytes_; }
    // Copies the entries of all blocks, in the order of their records; answers how many.
    std::uint32_t copyLive(kxMemoryEntry* entries) const noexcept;

private:
    std::optional<std::uint32_t> freeRecord() const noexcept;
    kxMemoryEntry entryAt(std::uint32_t index) const noexcept;

    kxMemoryRecord* records_ = nullptr;
    kxMemoryTexts* texts_ = nullptr;  // for each record, once a block has any
    kxMemoryIndex index_;
    kxNumberSet<kRecords>
        free_;  // among the records used so far; finds at once what a scan of them would find
    std::uint32_t usedCount_ = 0;  // records used so far, also those that are free again
    std::uint32_t liveCount_ = 0;
    std::uint32_t nextSequence_ = 0;
    std::uint64_t totalBytes_ = 0;
};
