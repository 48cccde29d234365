#include "kxbase/serialize/kxFileQueue.h"

#include <algorithm>
#include <cstring>

std::uint8_t* kxFileQueue::room(std::uint32_t count)
{
    if (begin_ == end_) begin_ = end_ = 0;
    if (storage_.size() - end_ < count && begin_ != 0) {
        std::memmove(storage_.data(), data(), length());
        end_ = length();
        begin_ = 0;
    }
    if (storage_.size() - end_ < count) storage_.resize(std::max(end_ + count, 2 * storage_.size()));
    return storage_.data() + end_;
}

void kxFileQueue::append(const std::uint8_t* bytes, std::uint32_t count)
{
    if (count == 0) return;
    std::memcpy(room(count), bytes, count);
    commit(count);
}

std::uint32_t kxFileQueue::take(std::uint8_t* bytes, std::uint32_t count)
{
    const std::uint32_t taken = std::min(count, length());
    if (taken != 0) std::memcpy(bytes, data(), taken);
    drop(taken);
    return taken;
}
