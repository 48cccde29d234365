// A GUID on an adapter: 16 bytes, in the order in which its text shows them.
//
// Threads: a plain value.
// Errors:  see kxSerializeData. A read that finds too few bytes replaces the first bytes only.
#pragma once

#include "kxbase/core/kxSerializeData.h"
#include "kxbase/string/kxGUID.h"

class kxSerializeGUID final : public kxSerializeData {
public:
    static constexpr std::uint32_t KX_SIZE_BYTES = 16;
    using Bytes = std::array<std::uint8_t, KX_SIZE_BYTES>;

    constexpr explicit kxSerializeGUID(const kxGUID& value = {}) noexcept : value_(value) {}

    void write(kxSerializeAdapter& adapter) const override;
    void read(kxSerializeAdapter& adapter) override;
    void pushBack(kxSerializeAdapter& adapter) const override;
    std::uint32_t getDataSize() const override { return KX_SIZE_BYTES; }

    const kxGUID& getValue() const noexcept { return value_; }
    void setValue(const kxGUID& value) noexcept { value_ = value; }

    // The encoding itself, for bytes in memory.
    static Bytes encode(const kxGUID& value) noexcept;
    static kxGUID decode(const Bytes& bytes) noexcept;

private:
    kxGUID value_;
};
