#include "kxbase/dynamic/kxDynamicTypeChain.h"

namespace {

const kxDynamicType& checked(const kxDynamicType& value)
{
    value.require(KX_UNIQUE_CHAIN, "Can not convert dynamic argument type '%s' to kxDynamicTypeChain !!");
    return value;
}

}  // namespace

kxDynamicTypeChain::kxDynamicTypeChain(const kxDynamicType& value)
    : kxDynamicTypeSequence(checked(value), "kxDynamicTypeChain")
{}
