#include "kxbase/dynamic/kxDynamicTypeChain.h"

kxDynamicTypeChain::kxDynamicTypeChain(const kxDynamicType& value)
    : kxDynamicTypeSequence(
          value.require(KX_UNIQUE_CHAIN,
                        "Can not convert dynamic argument type '%s' to kxDynamicTypeChain !!"),
          "kxDynamicTypeChain")
{}
