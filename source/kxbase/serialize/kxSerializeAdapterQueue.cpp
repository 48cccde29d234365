#include "kxbase/serialize/kxSerializeAdapterQueue.h"

#include "kxbase/object/kxTypeTable.h"

#include <algorithm>

kxSerializeAdapterQueue::kxSerializeAdapterQueue(kxQueueOrder order, std::uint32_t growthStep)
    : queue_(order, growthStep)
{}

const kxType& kxSerializeAdapterQueue::getType() const
{
    return kxTypeTable::find("kxSerializeAdapterQueue");
}

void kxSerializeAdapterQueue::writeBlock(const void* bytes, std::uint32_t count)
{
    queue_.pushBlock(static_cast<const std::uint8_t*>(bytes), count);
}

void kxSerializeAdapterQueue::writeByte(std::uint8_t byte)
{
    queue_.push(byte);
}

std::uint32_t kxSerializeAdapterQueue::readBlock(void* bytes, std::uint32_t count)
{
    const std::uint32_t taken = std::min(count, queue_.length());
    if (taken != 0) queue_.popBlock(static_cast<std::uint8_t*>(bytes), taken);
    return taken;
}

std::uint8_t kxSerializeAdapterQueue::readByte()
{
    return queue_.pop();
}

std::uint32_t kxSerializeAdapterQueue::getDataLength()
{
    return queue_.length();
}
