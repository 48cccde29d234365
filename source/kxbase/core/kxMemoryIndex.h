// Finds the record of a block by its address in constant time: a hash table with open addressing beside the table
// of records. At most half of it is ever in use, so that it neither grows nor fails.
//
// Ownership: lies where its owner puts it; zeroed memory is an empty index, of which only what is used is touched.
// Threads:   takes no lock; one thread at a time.
#pragma once

#include "kxbase/core/kxMemoryRecord.h"

class kxMemoryIndex {
public:
    static constexpr std::uint32_t kSlots = 1U << 21;
    static constexpr std::uint32_t kMostRecords = kSlots / 2;
    static constexpr std::uint32_t kNone = UINT32_MAX;

    // At most kMostRecords at a time.
    void insert(std::uint64_t address, std::uint32_t record) noexcept;
    // The record of the address, or kNone.
    std::uint32_t find(std::uint64_t address, const kxMemoryRecord* records) const noexcept;
    // The same, which is then forgotten.
    std::uint32_t remove(std::uint64_t address, const kxMemoryRecord* records) noexcept;

private:
    struct Slot {
        std::uint32_t hash;
        std::uint32_t recordPlusOne;  // 0 in a slot that is free
    };

    std::uint32_t slotOf(std::uint64_t address, const kxMemoryRecord* records) const noexcept;
    void closeGap(std::uint32_t gap) noexcept;

    Slot slots_[kSlots];
};
