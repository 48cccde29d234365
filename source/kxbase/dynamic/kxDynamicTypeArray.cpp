#include "kxbase/dynamic/kxDynamicTypeArray.h"

kxDynamicTypeArray::kxDynamicTypeArray(const kxDynamicType& value)
    : kxDynamicTypeSequence(
          value.require(KX_UNIQUE_ARRAY,
                        "Can not convert dynamic argument type '%s' to kxDynamicTypeArray !!"),
          "kxDynamicTypeArray")
{}

void kxDynamicTypeArray::checkTypes(std::initializer_list<std::string_view> expected) const
{
    const auto expectedCount = static_cast<std::uint32_t>(expected.size());
    for (std::uint32_t index = 0; index < std::max(count(), expectedCount); ++index) {
        const kxString found = index < count() ? get(index).getTypeName() : kxUniqueString(KX_UNIQUE_VOID);
        const std::string_view wanted = index < expectedCount ? expected.begin()[index] : "void";
        if (found == wanted) continue;
        kxRaiseFatal("Argument type mismatch : Expected type '%s' but got type '%s' for argument %d", wanted,
                     found, index + 1);
    }
}
