#include "kxbase/core/kxMemoryTable.h"

#include <algorithm>
#include <new>

void kxMemoryTable::setRoom(void* records, Aside* aside) noexcept
{
    records_ = static_cast<kxMemoryRecord*>(records);
    aside_ = aside;
}

std::optional<kxMemoryEntry> kxMemoryTable::add(kxMemoryRecord record, const kxMemoryTexts& texts) noexcept
{
    record.sequence = nextSequence_;
    const std::optional<std::uint32_t> index = enter(record, texts);
    if (!index) return std::nullopt;
    ++nextSequence_;
    return entryAt(*index);
}

std::optional<kxMemoryEntry> kxMemoryTable::take(std::uint64_t address) noexcept
{
    if (!hasRoom()) return std::nullopt;
    const std::uint32_t index = aside_->index.remove(address, records_);
    if (index == kxMemoryIndex::kNone) return std::nullopt;
    totalBytes_ -= records_[index].sizeBytes;
    const kxMemoryEntry entry = entryAt(index);
    records_[index].address = 0;
    free_.insert(index);
    --liveCount_;
    return entry;
}

void kxMemoryTable::putBack(const kxMemoryEntry& entry) noexcept
{
    enter(entry.record, entry.texts);
}

void kxMemoryTable::setTexts(std::uint64_t address, const kxMemoryTexts& texts) noexcept
{
    if (!hasRoom()) return;
    const std::uint32_t index = aside_->index.find(address, records_);
    if (index != kxMemoryIndex::kNone) aside_->texts[index] = texts;
}

std::optional<std::uint32_t> kxMemoryTable::freeRecord() const noexcept
{
    if (!hasRoom()) return std::nullopt;
    if (usedCount_ < kRecords) return usedCount_;
    const std::uint32_t lowest = free_.lowest();
    return lowest < kRecords ? std::optional(lowest) : std::nullopt;
}

std::optional<std::uint32_t> kxMemoryTable::enter(const kxMemoryRecord& record,
                                                  const kxMemoryTexts& texts) noexcept
{
    totalBytes_ += record.sizeBytes;
    const std::optional<std::uint32_t> index = freeRecord();
    if (!index) return std::nullopt;
    ::new (&records_[*index]) kxMemoryRecord(record);
    aside_->texts[*index] = texts;
    aside_->index.insert(record.address, *index);
    usedCount_ = std::max(usedCount_, *index + 1);
    free_.remove(*index);
    ++liveCount_;
    return index;
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
    return {records_[index], aside_->texts[index], index, totalBytes_};
}
