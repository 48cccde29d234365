// Finds the record of a block by its address in constant time: a hash table with open addressing beside the table
// of records.
//
// Ownership: its slots are memory of the C library, never given back.
// Threads:   takes no lock; one thread at a time.
// Errors:    where memory is short, insert answers false and nothing has changed.
#pragma once

#include "kxbase/core/kxMemoryRecord.h"

class kxMemoryIndex {
public:
    static constexpr std::uint32_t kNone = UINT32_MAX;

    bool insert(std::uint64_t address, std::uint32_t record) noexcept;
    // The record of the address, or kNone.
    std::uint32_t find(std::uint64_t address, const kxMemoryRecord* records) const noexcept;
    // The same, which is then forgotten.
    std::uint32_t remove(std::uint64_t address, const kxMemoryRecord* records) noexcept;

private:
    struct Slot {
        std::uint32_t hash;
        std::uint32_t recordPlusOne;  // 0 in a slot that is free
    };

    static std::uint32_t hashOf(std::uint64_t address) noexcept;
    std::uint32_t slotOf(std::uint64_t address, const kxMemoryRecord* records) const noexcept;
    void place(Slot slot) noexcept;
    void closeGap(std::uint32_t gap) noexcept;
    bool grow() noexcept;

    Slot* slots_ = nullptr;
    std::uint32_t count_ = 0;
    std::uint32_t mask_ = 0;   // one below the number of slots, a power of two
    std::uint32_t shift_ = 0;  // leaves of a hash what tells the slot
};
