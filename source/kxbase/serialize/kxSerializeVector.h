// Vectors of two, three or four components of four bytes: x, y, z, w, each a serializer of its own.
//
// Threads: plain values.
// Errors:  see kxSerializeData.
#pragma once

#include "kxbase/serialize/kxSerializeBinary.h"
#include "kxbase/serialize/kxSerializeRecord.h"

#include <array>

// The components alone, x first.
using kxVec2 = std::array<float, 2>;
using kxVec3 = std::array<float, 3>;
using kxVec4 = std::array<float, 4>;

template <kxBinaryValue T, std::size_t Count>
requires(sizeof(T) == 4) class kxSerializeVector final
    : public kxSerializeRecord<kxSerializeVector<T, Count>> {
public:
    using Components = std::array<T, Count>;

    constexpr explicit kxSerializeVector(const Components& values = {},
                                         kxByteOrder order = KX_BYTE_ORDER_LITTLE) noexcept
    {
        for (std::size_t index = 0; index < Count; ++index)
            components_[index] = kxSerializeBinary<T>(values[index], order);
    }

    Components getValue() const noexcept
    {
        Components values;
        for (std::size_t index = 0; index < Count; ++index) values[index] = components_[index].getValue();
        return values;
    }
    void setValue(const Components& values) noexcept
    {
        for (std::size_t index = 0; index < Count; ++index) components_[index].setValue(values[index]);
    }

    static auto parts(auto& self)
    {
        return std::apply([](auto&... component) { return std::tie(component...); }, self.components_);
    }

private:
    std::array<kxSerializeBinary<T>, Count> components_;
};

using kxSerializeVec2 = kxSerializeVector<float, 2>;
using kxSerializeVec3 = kxSerializeVector<float, 3>;
using kxSerializeVec4 = kxSerializeVector<float, 4>;
