// A value that can be written to an adapter, read from one and given back to one.
//
// Lies below the adapters, which it only names, so that strings can be serializable values.
//
// Errors: none of its own; a read that finds too few bytes leaves what it could read, and the adapter's
//         hasError() tells.
// Units:  sizes are in bytes.
#pragma once

#include <cstdint>

class kxSerializeAdapter;

class kxSerializeData {
public:
    virtual ~kxSerializeData() = default;
    virtual void write(kxSerializeAdapter& adapter) const = 0;
    virtual void read(kxSerializeAdapter& adapter) = 0;
    // Gives the encoded value back, so that the next read of the adapter returns exactly its bytes.
    virtual void pushBack(kxSerializeAdapter& adapter) const = 0;
    // Bytes that write() produces for the value held now.
    virtual std::uint32_t getDataSize() const = 0;

protected:
    constexpr kxSerializeData() noexcept = default;
    constexpr kxSerializeData(const kxSerializeData&) noexcept = default;
    constexpr kxSerializeData& operator=(const kxSerializeData&) noexcept = default;
};
