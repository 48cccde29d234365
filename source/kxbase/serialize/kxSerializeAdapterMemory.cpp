#include "kxbase/serialize/kxSerializeAdapterMemory.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxMoveBytes.h"
#include "kxbase/object/kxTypeTable.h"

namespace {

constexpr const char* kWrittenBeyondEnd = "Memory Adapter written beyond end";
constexpr const char* kReadBeyondEnd = "Memory Adapter read beyond end";
constexpr const char* kMovedBeyondEnd = "Memory Adapter moved beyond end";
constexpr const char* kMovedBeforeBeginning = "Memory Adapter moved before beginning";

}  // namespace

kxSerializeAdapterMemory::kxSerializeAdapterMemory(void* block, std::uint32_t sizeBytes)
    : block_(static_cast<std::uint8_t*>(block)), size_(sizeBytes)
{}

const kxType& kxSerializeAdapterMemory::getType() const
{
    return kxTypeTable::find("kxSerializeAdapterMemory");
}

std::uint32_t kxSerializeAdapterMemory::flush()
{
    discardPushBack();
    size_ = 0;
    position_ = 0;
    return 0;
}

// How many of `count` bytes the block has left; sets the error text when these are fewer.
inline std::uint32_t kxSerializeAdapterMemory::fitting(std::uint32_t count, const char* errorText)
{
    const std::uint32_t left = size_ - position_;
    if (count <= left) return count;
    setError(kxTranslate(errorText));
    return left;
}

void kxSerializeAdapterMemory::writeBlock(const void* bytes, std::uint32_t count)
{
    const std::uint32_t moved = fitting(count, kWrittenBeyondEnd);
    kxMoveBytes(block_ + position_, bytes, moved);
    position_ += moved;
}

void kxSerializeAdapterMemory::writeByte(std::uint8_t byte)
{
    if (position_ < size_)
        block_[position_++] = byte;
    else
        setError(kxTranslate(kWrittenBeyondEnd));
}

std::uint32_t kxSerializeAdapterMemory::readBlock(void* bytes, std::uint32_t count)
{
    const std::uint32_t moved = fitting(count, kReadBeyondEnd);
    kxMoveBytes(bytes, block_ + position_, moved);
    position_ += moved;
    return moved;
}

std::uint8_t kxSerializeAdapterMemory::readByte()
{
    if (position_ < size_) return block_[position_++];
    setError(kxTranslate(kReadBeyondEnd));
    return 0;
}

std::uint32_t kxSerializeAdapterMemory::getDataLength()
{
    return size_ - position_;
}

void kxSerializeAdapterMemory::move(std::int32_t offset)
{
    const std::uint32_t distance = static_cast<std::uint32_t>(offset);
    const std::uint32_t target = position_ + distance;
    if (target >= size_)
        setError(kxTranslate(kMovedBeyondEnd));
    else if (offset < 0 && 0U - distance > position_)
        setError(kxTranslate(kMovedBeforeBeginning));
    else
        position_ = target;
}
