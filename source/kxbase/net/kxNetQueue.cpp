#include "kxbase/net/kxNetQueue.h"

#include <algorithm>
#include <limits>

namespace {

// What is kept for another time: enough for a burst of datagrams or a few large chunks.
constexpr std::uint32_t kMostSpares = 1024;
constexpr std::uint64_t kMostSpareBytes = 8 * 1024 * 1024;
// A peer that sends and never reads must not take all memory. Each record costs some besides its bytes.
constexpr std::uint64_t kFullBytes = 256 * 1024 * 1024;
constexpr std::uint64_t kRecordBytes = 256;

}  // namespace

kxNetQueue::kxNetQueue()
{
    records_.setReuse(true);
    spares_.setReuse(true);
}

kxRefPointer<kxNetData> kxNetQueue::newRecord()
{
    if (spares_.isEmpty()) return kxMakeRef<kxNetData>();
    kxRefPointer<kxNetData> record = spares_.takeFirst();
    spareBytes_ -= record->capacity();
    return record;
}

void kxNetQueue::append(const kxRefPointer<kxNetData>& record)
{
    queuedBytes_ += record->length();
    records_.append(record);
}

void kxNetQueue::giveBack(const kxRefPointer<kxNetData>& record)
{
    const bool isOurs = record->getReferenceCount() == 1;
    if (!isOurs || spares_.count() == kMostSpares || spareBytes_ + record->capacity() > kMostSpareBytes)
        return;
    spareBytes_ += record->capacity();
    // The one used last is the one that the processor still has at hand.
    spares_.prepend(record.get());
}

void kxNetQueue::clear()
{
    current_ = nullptr;
    records_.clear();
    queuedBytes_ = 0;
}

bool kxNetQueue::loadNext()
{
    while (currentLength() == 0) {
        if (current_) giveBack(current_);
        current_ = records_.takeFirst();
        if (!current_) return false;
        queuedBytes_ -= current_->length();
    }
    return true;
}

bool kxNetQueue::isFull() const
{
    return queuedBytes_ + records_.count() * kRecordBytes >= kFullBytes;
}

std::uint32_t kxNetQueue::length() const
{
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(currentLength() + queuedBytes_, std::numeric_limits<std::uint32_t>::max()));
}

std::uint32_t kxNetQueue::take(std::uint8_t* bytes, std::uint32_t count)
{
    std::uint32_t taken = 0;
    while (taken < count && loadNext()) taken += current_->take(bytes + taken, count - taken);
    return taken;
}
