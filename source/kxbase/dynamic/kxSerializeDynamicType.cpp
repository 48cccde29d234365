#include "kxbase/dynamic/kxSerializeDynamicType.h"

#include "kxbase/containers/kxArray.h"
#include "kxbase/dynamic/kxDynamicFault.h"
#include "kxbase/serialize/kxSerializeString.h"
#include "kxbase/serialize/kxVarUInt64.h"

#include <algorithm>
#include <limits>

namespace {

// Memory follows the bytes that come, in steps of this size.
constexpr std::uint32_t kStepBytes = 1024 * 1024;
constexpr std::uint32_t kMostSize = std::numeric_limits<std::uint32_t>::max();

std::uint32_t sizeOf(const kxDynamicType& value)
{
    return static_cast<std::uint32_t>(value.getBytes().size());
}

// False when the stream ends before the size does, or when it is none.
bool readSize(kxSerializeAdapter& adapter, std::uint32_t& size)
{
    std::uint8_t bytes[kxVarUInt64::KX_MAX_BYTES];
    std::uint64_t number = 0;
    for (std::uint32_t count = 0; count < kxVarUInt64::KX_MAX_BYTES && adapter.ensureData(1);) {
        bytes[count++] = adapter.readChar();
        if (kxVarUInt64::decode(bytes, count, number) == 0) continue;
        size = static_cast<std::uint32_t>(number);
        return number <= kMostSize;
    }
    return false;
}

bool readBytes(kxSerializeAdapter& adapter, std::uint32_t count, kxArray<std::uint8_t>& bytes)
{
    while (bytes.size() < count) {
        const std::uint32_t before = bytes.size();
        const std::uint32_t wanted = std::min(count - before, kStepBytes);
        bytes.resize(before + wanted);
        if (adapter.read(bytes.data() + before, wanted) != wanted) return false;
    }
    return true;
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
    const bool isSound =
        !typeName.getText().isEmpty() && readSize(adapter, size) && readBytes(adapter, size, bytes);
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
