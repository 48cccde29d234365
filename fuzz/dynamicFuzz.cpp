// Dynamic values: the bytes are a value on an adapter. What is sound is the same when it is taken apart and put
// together again; what is not is neutral.

#include "kxbase/dynamic/kxDynamicTypeArray.h"
#include "kxbase/dynamic/kxDynamicTypeChain.h"
#include "kxbase/dynamic/kxDynamicTypeContainerIterator.h"
#include "kxbase/dynamic/kxDynamicTypeError.h"
#include "kxbase/dynamic/kxDynamicTypeTimeTagged.h"
#include "kxbase/dynamic/kxSerializeDynamicType.h"
#include "kxbase/message/kxMessageManager.h"
#include "kxbase/serialize/kxSerializeAdapterMemory.h"

#include <cstdlib>

namespace {

kxDynamicType rebuilt(const kxDynamicType& value);

template <typename Sequence> kxDynamicType rebuiltSequence(const kxDynamicType& value)
{
    Sequence list;
    for (const kxDynamicType& each : Sequence(value)) list.append(rebuilt(each));
    return list;
}

kxDynamicType rebuiltContainer(const kxDynamicType& value)
{
    const kxDynamicTypeContainer from(value);
    kxDynamicTypeContainer container;
    for (kxDynamicTypeContainerIterator at(from); !at.isAtEnd(); ++at)
        container.set(at.getName(), rebuilt(at.getValue()));
    return container;
}

void convert(const kxDynamicType& value)
{
    if (value.isType(KX_UNIQUE_NUM) || value.isType(KX_UNIQUE_LLNUM)) value.toNumber();
    if (value.isType(KX_UNIQUE_STR) || value.isType(KX_UNIQUE_GUID) || value.isType(KX_UNIQUE_PTR))
        value.toString();
    if (value.isType(KX_UNIQUE_VEC2)) value.toVec2();
    if (value.isType(KX_UNIQUE_VEC3)) value.toVec3();
    if (value.isType(KX_UNIQUE_VEC4)) value.toVec4();
    if (value.isType(KX_UNIQUE_REF) && value.toReference() != nullptr) std::abort();
}

kxDynamicType rebuilt(const kxDynamicType& value)
{
    if (value.isType(KX_UNIQUE_ARRAY)) return rebuiltSequence<kxDynamicTypeArray>(value);
    if (value.isType(KX_UNIQUE_CHAIN)) return rebuiltSequence<kxDynamicTypeChain>(value);
    if (value.isType(KX_UNIQUE_CONT)) return rebuiltContainer(value);
    if (value.isType(KX_UNIQUE_ERROR)) return kxDynamicTypeError(value);
    if (value.isType(KX_UNIQUE_TTAG)) {
        const kxDynamicTypeTimeTagged tagged(value);
        return kxDynamicTypeTimeTagged(rebuilt(tagged.getValue()), tagged.getTime());
    }
    convert(value);
    return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kxMessageManager::instance().setEnabled(false);
    kxSerializeAdapterMemory adapter(const_cast<std::uint8_t*>(data), static_cast<std::uint32_t>(size));
    kxSerializeDynamicType stored;
    stored.read(adapter);
    // Counts and sizes may have come in more bytes than they need; the second time they have the shortest form.
    const kxDynamicType once = rebuilt(stored.getValue());
    if (!(rebuilt(once) == once)) std::abort();
    return 0;
}
