// What the memory check keeps of one tracked block.
#pragma once

#include <cstdint>

// What the allocating code says of a block; null for nothing. Lines of the trace end with the data when the block is
// freed. Those of the report have it in their middle and the description at the end, in compact form description and
// data at the end.
struct kxMemoryTexts {
    const char* data = nullptr;
    const char* description = nullptr;
};

struct kxMemoryRecord {
    std::uint64_t address = 0;  // 0 in a record that is free
    std::uint64_t sizeBytes = 0;
    std::uint32_t thread = 0;    // the system's id of the thread that allocated it
    std::uint32_t sequence = 0;  // how many records were filled before
    std::int32_t state = 0;      // the thread's own value at that time
    // The layout's reserved word: the address of the texts about the block, 0 for none.
    std::uint64_t textsAddress = 0;

    void setTexts(const kxMemoryTexts& texts) noexcept
    {
        textsAddress = reinterpret_cast<std::uintptr_t>(&texts);
    }
    kxMemoryTexts texts() const noexcept
    {
        if (textsAddress == 0) return {};
        return *reinterpret_cast<const kxMemoryTexts*>(static_cast<std::uintptr_t>(textsAddress));
    }
};
static_assert(sizeof(kxMemoryRecord) == 40);

// A record with everything that a line about it shows.
struct kxMemoryEntry {
    kxMemoryRecord record = {};
    std::uint32_t index = 0;       // of the record in its table
    std::uint64_t totalBytes = 0;  // of the table, when the entry was made or taken
};
