#include "kxbase/core/kxMemoryTable.h"

#include <new>

void kxMemoryTable::setRoom(void* records, kxMemoryIndex* index) noexcept
{
    records_ = static_cast<kxMemoryRecord*>(records);
    index_ = index;
}

bool kxMemoryTable::add(const kxMemoryRecord& record, kxMemoryEntry* added) noexcept
{
    const std::uint32_t index = enter(record);
    if (index == kRecords) return false;
    records_[index].sequence = nextSequence_++;
    if (added != nullptr) *added = entryAt(index);
    return true;
}

bool kxMemoryTable::take(std::uint64_t address, kxMemoryEntry* taken) noexcept
{
    if (!hasRoom()) return false;
    const std::uint32_t index = index_->remove(address, records_);
    if (index == kxMemoryIndex::kNone) return false;
    totalBytes_ -= records_[index].sizeBytes;
    if (taken != nullptr) *taken = entryAt(index);
    records_[index].address = 0;
    free_.insert(index);
    --liveCount_;
    return true;
}

void kxMemoryTable::putBack(const kxMemoryEntry& entry) noexcept
{
    enter(entry.record);
}

void kxMemoryTable::setTexts(std::uint64_t address, const kxMemoryTexts& texts) noexcept
{
    if (!hasRoom()) return;
    const std::uint32_t index = index_->find(address, records_);
    if (index != kxMemoryIndex::kNone) records_[index].setTexts(texts);
}

std::uint32_t kxMemoryTable::freeRecord() const noexcept
{
    if (!hasRoom()) return kRecords;
    return usedCount_ < kRecords ? usedCount_ : free_.lowest();
}

std::uint32_t kxMemoryTable::enter(const kxMemoryRecord& record) noexcept
{
    totalBytes_ += record.sizeBytes;
    const std::uint32_t index = freeRecord();
    if (index == kRecords) return index;
    ::new (&records_[index]) kxMemoryRecord(record);
    index_->insert(record.address, index);
    if (index == usedCount_)
        ++usedCount_;
    else
        free_.remove(index);
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
    return {records_[index], index, totalBytes_};
}
