// Array whose room is always a multiple of a growth step; for everything else see kxArray.
//
// Units: the growth step is in items; 0 is taken as 1.
#pragma once

#include "kxbase/containers/kxArray.h"

constexpr std::uint32_t KX_DYNAMIC_ARRAY_GROWTH_STEP = 16;

template <typename T> class kxDynamicArray : public kxArray<T> {
public:
    explicit kxDynamicArray(std::uint32_t growthStep = KX_DYNAMIC_ARRAY_GROWTH_STEP) noexcept
        : kxArray<T>(typename kxArray<T>::GrowthStep{growthStep})
    {}
    std::uint32_t growthStep() const noexcept { return this->growthStepItems(); }
};
