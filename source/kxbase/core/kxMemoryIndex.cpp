#include "kxbase/core/kxMemoryIndex.h"

#include <cstdlib>

namespace {

constexpr std::uint32_t kHashBits = 32;
constexpr std::uint32_t kFirstBits = 16;  // of the number of slots
// 2^64 divided by the golden ratio, which spreads addresses that lie in a row.
constexpr std::uint64_t kFibonacci = 0x9E3779B97F4A7C15;

}  // namespace

std::uint32_t kxMemoryIndex::hashOf(std::uint64_t address) noexcept
{
    return static_cast<std::uint32_t>((address * kFibonacci) >> kHashBits);
}

bool kxMemoryIndex::insert(std::uint64_t address, std::uint32_t record) noexcept
{
    const bool isHalfFull = slots_ == nullptr || count_ > mask_ / 2;
    if (isHalfFull && !grow()) return false;
    place({hashOf(address), record + 1});
    ++count_;
    return true;
}

std::uint32_t kxMemoryIndex::find(std::uint64_t address, const kxMemoryRecord* records) const noexcept
{
    const std::uint32_t slot = slotOf(address, records);
    return slot != kNone ? slots_[slot].recordPlusOne - 1 : kNone;
}

std::uint32_t kxMemoryIndex::remove(std::uint64_t address, const kxMemoryRecord* records) noexcept
{
    const std::uint32_t slot = slotOf(address, records);
    if (slot == kNone) return kNone;
    const std::uint32_t record = slots_[slot].recordPlusOne - 1;
    closeGap(slot);
    --count_;
    return record;
}

std::uint32_t kxMemoryIndex::slotOf(std::uint64_t address, const kxMemoryRecord* records) const noexcept
{
    if (slots_ == nullptr) return kNone;
    const std::uint32_t hash = hashOf(address);
    for (std::uint32_t at = hash >> shift_; slots_[at].recordPlusOne != 0; at = (at + 1) & mask_) {
        const Slot& slot = slots_[at];
        if (slot.hash == hash && records[slot.recordPlusOne - 1].address == address) return at;
    }
    return kNone;
}

void kxMemoryIndex::place(Slot slot) noexcept
{
    std::uint32_t at = slot.hash >> shift_;
    while (slots_[at].recordPlusOne != 0) at = (at + 1) & mask_;
    slots_[at] = slot;
}

// Moves up what could not be found any more behind an empty slot.
void kxMemoryIndex::closeGap(std::uint32_t gap) noexcept
{
    for (std::uint32_t at = (gap + 1) & mask_; slots_[at].recordPlusOne != 0; at = (at + 1) & mask_) {
        const std::uint32_t home = slots_[at].hash >> shift_;
        if (((at - home) & mask_) < ((at - gap) & mask_)) continue;
        slots_[gap] = slots_[at];
        gap = at;
    }
    slots_[gap] = {};
}

bool kxMemoryIndex::grow() noexcept
{
    const std::uint32_t bits = slots_ == nullptr ? kFirstBits : kHashBits - shift_ + 1;
    auto* const larger = static_cast<Slot*>(std::calloc(std::size_t{1} << bits, sizeof(Slot)));
    if (larger == nullptr) return false;
    Slot* const before = slots_;
    const std::uint32_t slotsBefore = before != nullptr ? mask_ + 1 : 0;
    slots_ = larger;
    shift_ = kHashBits - bits;
    mask_ = (std::uint32_t{1} << bits) - 1;
    for (std::uint32_t at = 0; at < slotsBefore; ++at)
        if (before[at].recordPlusOne != 0) place(before[at]);
    std::free(before);
    return true;
}
