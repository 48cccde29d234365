#include "kxbase/core/kxMemoryTable.h"

#include <algorithm>
#include <cstdlib>
#include <new>

std::optional<std::uint32_t> kxMemoryTable::freeRecord() const noexcept
{
    if (usedCount_ < kRecords) return usedCount_;
    const std::uint32_t lowest = free_.lowest();
    return lowest < kRecords ? std::optional(lowest) : std::nullopt;
}

std::optional<std::uint32_t> kxMemoryTable::add(const kxMemoryRecord& record,
                                                const kxMemoryTexts& texts) noexcept
{
    const std::optional<std::uint32_t> index = freeRecord();
    if (!index || !index_.insert(record.address, *index)) return std::nullopt;
    ::new (&records_[*index]) kxMemoryRecord(record);
    usedCount_ = std::max(usedCount_, *index + 1);
    free_.remove(*index);
    ++liveCount_;
    totalBytes_ += record.sizeBytes;
    if (texts.data != nullptr || texts.description != nullptr) setTexts(record.address, texts);
    return index;
}

std::optional<kxMemoryEntry> kxMemoryTable::take(std::uint64_t address) noexcept
{
    const std::uint32_t index = index_.remove(address, records_);
    if (index == kxMemoryIndex::kNone) return std::nullopt;
    const kxMemoryEntry entry = entryAt(index);
    records_[index].address = 0;
    if (texts_ != nullptr) texts_[index] = {};
    free_.insert(index);
    --liveCount_;
    totalBytes_ -= entry.record.sizeBytes;
    return entry;
}

void kxMemoryTable::setTexts(std::uint64_t address, const kxMemoryTexts& texts) noexcept
{
    const std::uint32_t index = index_.find(address, records_);
    if (index == kxMemoryIndex::kNone) return;
    if (texts_ == nullptr) {
        texts_ = static_cast<kxMemoryTexts*>(std::calloc(kRecords, sizeof(kxMemoryTexts)));
        if (texts_ == nullptr) return;
    }
    texts_[index] = texts;
}

std::uint32_t kxMemoryTable::copyLive(kxMemoryEntry* entries) const noexcept
{
    std::uint32_t count = 0;
    for (std::uint32_t index = 0; index < usedCount_; ++index)
        if (records_[index].address != 0) entries[count++] = entryAt(index);
    return count;
}

kxMemoryEntry kxMemoryTable::entryAt(std::uint32_t index) const noexcept
{
    return {records_[index], texts_ != nullptr ? texts_[index] : kxMemoryTexts{}, index};
}
