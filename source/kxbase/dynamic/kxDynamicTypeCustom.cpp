#include "kxbase/dynamic/kxDynamicTypeCustom.h"

#include "kxbase/containers/kxArray.h"
#include "kxbase/serialize/kxCorruptStream.h"
#include "kxbase/serialize/kxSerializeAdapterMemory.h"

kxDynamicTypeCustom::kxDynamicTypeCustom(const kxString& typeName, const kxSerializeData& data)
{
    kxArray<std::uint8_t> bytes(data.getDataSize());
    data.write(*kxMakeRef<kxSerializeAdapterMemory>(bytes.data(), bytes.size()));
    value_ = kxDynamicType(typeName, bytes.data(), bytes.size());
}

kxDynamicTypeCustom::kxDynamicTypeCustom(const kxDynamicType& value, const kxString& typeName) : value_(value)
{
    if (value.isType(typeName)) return;
    kxRaiseFatal("Can not convert dynamic argument type '%s' to kxDynamicTypeCustom type '%s'!!",
                 value.getTypeName(), typeName);
}

bool kxDynamicTypeCustom::read(kxSerializeData& data) const
{
    const auto bytes = value_.getBytes();
    // Nothing is written through the adapter.
    const auto adapter = kxMakeRef<kxSerializeAdapterMemory>(const_cast<std::uint8_t*>(bytes.data()),
                                                             static_cast<std::uint32_t>(bytes.size()));
    data.read(*adapter);
    if (!adapter->hasError()) return true;
    kxWarnCorruptStream("kxDynamicTypeCustom");
    return false;
}
