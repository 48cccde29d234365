#include "kxbase/net/kxNetData.h"

#include "kxbase/object/kxTypeTable.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::uint32_t kRoomStepBytes = 100;

}  // namespace

const kxType& kxNetData::getType() const
{
    return kxTypeTable::find("kxNetData");
}

std::uint8_t* kxNetData::prepare(std::uint32_t sizeBytes)
{
    begin_ = end_ = 0;
    if (sizeBytes > capacity()) {
        // Growing in place would copy the old bytes.
        kxItemBlock<std::uint8_t> fresh;
        fresh.reallocate((sizeBytes + kRoomStepBytes - 1) / kRoomStepBytes * kRoomStepBytes, 0, 0);
        block_.swap(fresh);
    }
    return block_.data();
}

std::uint32_t kxNetData::take(std::uint8_t* bytes, std::uint32_t count)
{
    const std::uint32_t taken = std::min(count, length());
    if (taken != 0) std::memcpy(bytes, data(), taken);
    begin_ += taken;
    return taken;
}
