#include "kxbase/core/kxMemoryIndex.h"

#include <bit>

namespace {

constexpr std::uint32_t kHashBits = 32;
constexpr std::uint32_t kMask = kxMemoryIndex::kSlots - 1;
// 2^64 divided by the golden ratio, which spreads addresses that lie in a row.
constexpr std::uint64_t kFibonacci = 0x9E3779B97F4A7C15;
// The upper bits are folded in first: there are steps, 97,584 bytes for one, whose multiples of that number lie in a
// few heaps. Neighbours stay in their row.
constexpr int kFold = 20;

std::uint32_t hashOf(std::uint64_t address)
{
    const std::uint64_t mixed = address ^ (address >> kFold);
    return static_cast<std::uint32_t>((mixed * kFibonacci) >> kHashBits);
}

// The slot where the search for a hash begins.
std::uint32_t homeOf(std::uint32_t hash)
{
    return hash >> (kHashBits - std::bit_width(kMask));
}

}  // namespace

void kxMemoryIndex::insert(std::uint64_t address, std::uint32_t record) noexcept
{
    const std::uint32_t hash = hashOf(address);
    std::uint32_t at = homeOf(hash);
    while (slots_[at].recordPlusOne != 0) at = (at + 1) & kMask;
    slots_[at] = {hash, record + 1};
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
    return record;
}

std::uint32_t kxMemoryIndex::slotOf(std::uint64_t address, const kxMemoryRecord* records) const noexcept
{
    const std::uint32_t hash = hashOf(address);
    for (std::uint32_t at = homeOf(hash); slots_[at].recordPlusOne != 0; at = (at + 1) & kMask) {
        const Slot& slot = slots_[at];
        if (slot.hash == hash && records[slot.recordPlusOne - 1].address == address) return at;
    }
    return kNone;
}

// Moves up what could not be found any more behind an empty slot.
void kxMemoryIndex::closeGap(std::uint32_t gap) noexcept
{
    for (std::uint32_t at = (gap + 1) & kMask; slots_[at].recordPlusOne != 0; at = (at + 1) & kMask) {
        const std::uint32_t home = homeOf(slots_[at].hash);
        if (((at - home) & kMask) < ((at - gap) & kMask)) continue;
        slots_[gap] = slots_[at];
        gap = at;
    }
    slots_[gap] = {};
}
