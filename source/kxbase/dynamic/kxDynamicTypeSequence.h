// Base of the ordered lists of dynamic values; see kxDynamicTypeArray and kxDynamicTypeChain.
//
// As bytes: the number of values as a kxVarUInt64, then each as kxSerializeDynamicType has it.
#pragma once

#include "kxbase/containers/kxDynamicArray.h"
#include "kxbase/dynamic/kxDynamicType.h"

class kxDynamicTypeSequence {
public:
    std::uint32_t count() const noexcept { return values_.size(); }
    bool isEmpty() const noexcept { return values_.isEmpty(); }
    // Each requires index < count().
    const kxDynamicType& get(std::uint32_t index) const { return values_.get(index); }
    void set(std::uint32_t index, kxDynamicType value);
    void remove(std::uint32_t index);
    void append(kxDynamicType value) { values_.append(std::move(value)); }
    void clear() { values_.clear(); }

    const kxDynamicType* begin() const noexcept { return values_.begin(); }
    const kxDynamicType* end() const noexcept { return values_.end(); }

    friend bool operator==(const kxDynamicTypeSequence& left, const kxDynamicTypeSequence& right) noexcept;

protected:
    kxDynamicTypeSequence() = default;
    // From a value of the right type.
    kxDynamicTypeSequence(const kxDynamicType& value, std::string_view className);
    kxDynamicType toValue(kxUniqueId type) const;

private:
    static constexpr std::uint32_t kGrowthStep = 8;

    kxDynamicArray<kxDynamicType> values_{kGrowthStep};
};
