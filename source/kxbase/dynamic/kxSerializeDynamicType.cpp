#include "kxbase/dynamic/kxSerializeDynamicType.h"

#include "kxbase/serialize/kxCorruptStream.h"
#include "kxbase/serialize/kxSerializeString.h"
#include "kxbase/serialize/kxVarUInt64.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::uint32_t kMostSize = std::numeric_limits<std::uint32_t>::max();

std::uint32_t sizeOf(const kxDynamicType& value)
{
    return static_cast<std::uint32_t>(value.getBytes().size());
}

}  // namespace

void kxSerializeDynamicType::write(kxSerializeAdapter& adapter) const
{
    kxSerializeString(value_.getTypeName()).write(adapter);
    kxVarUInt64(sizeOf(value_)).write(adapter);
    adapter.write(value_.getBytes().data(), sizeOf(value_));
}

void kxSerializeDynamicType::read(kxSerializeAdapter& adapter)
{
    kxSerializeString typeName;
    typeName.read(adapter);
    std::uint32_t size = 0;
    kxArray<std::uint8_t> bytes;
    const bool isSound = !typeName.getText().isEmpty() && kxReadAnnouncedSize(adapter, size) &&
                         kxReadAnnouncedBytes(adapter, size, bytes);
    if (!isSound) kxWarnCorruptStream("kxDynamicType");
    value_ = isSound ? kxDynamicType(typeName.getText(), bytes.data(), size) : kxDynamicType();
}

void kxSerializeDynamicType::pushBack(kxSerializeAdapter& adapter) const
{
    adapter.pushBack(value_.getBytes().data(), sizeOf(value_));
    kxVarUInt64(sizeOf(value_)).pushBack(adapter);
    kxSerializeString(value_.getTypeName()).pushBack(adapter);
}

std::uint32_t kxSerializeDynamicType::getDataSize() const
{
    const std::uint64_t sum = std::uint64_t{value_.getTypeName().length()} + 1 +
                              kxVarUInt64::sizeOf(sizeOf(value_)) + sizeOf(value_);
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(sum, kMostSize));
}
