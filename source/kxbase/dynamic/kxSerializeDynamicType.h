// A dynamic value on an adapter: the type name with a zero byte behind it, the number of value bytes as a
// kxVarUInt64, and the bytes.
//
// Ownership: owns its value.
// Threads:   a plain value.
// Errors:    a stream that ends too early, gives no type or a size above 4294967295 makes the value "void" and sends
//            the Warning "Corrupt Stream in kxDynamicType!!"; so does a "ref", since addresses of objects are never
//            taken from a stream. Composed values are looked into when they are taken apart, not before.
// Units:     sizes are in bytes. A size in the stream costs no memory before the bytes have come.
#pragma once

#include "kxbase/core/kxSerializeData.h"
#include "kxbase/dynamic/kxDynamicType.h"

class kxSerializeDynamicType final : public kxSerializeData {
public:
    explicit kxSerializeDynamicType(kxDynamicType value = {}) : value_(std::move(value)) {}
    // Like that of all serializers; releasing a miscounted object here ends the program.
    ~kxSerializeDynamicType() noexcept override = default;

    void write(kxSerializeAdapter& adapter) const override;
    void read(kxSerializeAdapter& adapter) override;
    void pushBack(kxSerializeAdapter& adapter) const override;
    std::uint32_t getDataSize() const override;

    const kxDynamicType& getValue() const noexcept { return value_; }
    void setValue(kxDynamicType value) { value_ = std::move(value); }

private:
    kxDynamicType value_;
};
