// A number of fixed size on an adapter: its bytes in the chosen order.
//
// Called on an object of this type, the operations cost no virtual call of their own; only the adapter's remains.
//
// Threads: a plain value.
// Errors:  see kxSerializeData. A read that finds too few bytes replaces the first bytes of the stored form only; of
//          an array, no more values than came whole are to be used.
// Units:   counts of arrays are in values.
#pragma once

#include "kxbase/containers/kxItemBlock.h"
#include "kxbase/core/kxSerializeData.h"
#include "kxbase/serialize/kxByteOrder.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

#include <algorithm>
#include <limits>
#include <type_traits>

namespace kxBinary {

template <typename T, typename... Others> constexpr bool isOneOf = (std::is_same_v<T, Others> || ...);

template <std::size_t SizeBytes> struct BitsOfSize;
template <> struct BitsOfSize<1> {
    using type = std::uint8_t;
};
template <> struct BitsOfSize<2> {
    using type = std::uint16_t;
};
template <> struct BitsOfSize<4> {
    using type = std::uint32_t;
};
template <> struct BitsOfSize<8> {
    using type = std::uint64_t;
};

}  // namespace kxBinary

// Pointers are stored as the address, in as many bytes as it has. Of the others, only types with the same size and
// the same values everywhere: long where it is the signed 64-bit integer, which is long long elsewhere, and neither
// bool nor char, whose size or sign is the compiler's. Unsigned 64-bit numbers below 2^63 have kxVarUInt64.
template <typename T>
concept kxBinaryValue = kxBinary::isOneOf<T, unsigned char, short, unsigned short, int, unsigned int, float,
                                          double, long, long long, char16_t, void*> &&
    (!std::is_same_v<T, long> || sizeof(long) == 8);

template <kxBinaryValue T> class kxSerializeBinary final : public kxSerializeData {
public:
    constexpr explicit kxSerializeBinary(T value = {}, kxByteOrder order = KX_BYTE_ORDER_LITTLE) noexcept
        : order_(order), value_(value)
    {}

    void write(kxSerializeAdapter& adapter) const override
    {
        const Bits stored = toStored(value_, order_);
        adapter.write(&stored, sizeof(stored));
    }
    void read(kxSerializeAdapter& adapter) override
    {
        Bits stored = toStored(value_, order_);
        adapter.read(&stored, sizeof(stored));
        value_ = fromStored(stored, order_);
    }
    void pushBack(kxSerializeAdapter& adapter) const override
    {
        const Bits stored = toStored(value_, order_);
        adapter.pushBack(&stored, sizeof(stored));
    }
    std::uint32_t getDataSize() const override { return sizeof(T); }

    T getValue() const noexcept { return value_; }
    void setValue(T value) noexcept { value_ = value; }
    kxByteOrder getByteOrder() const noexcept { return order_; }

    // The same bytes as one value after the other, written with one block operation.
    static void writeArray(kxSerializeAdapter& adapter, const T* values, std::uint32_t count,
                           kxByteOrder order = KX_BYTE_ORDER_LITTLE)
    {
        for (std::uint32_t part = 0; count != 0; count -= part, values += part) {
            part = std::min(count, kMostInBlock);
            if (isSwapped(order))
                writeReversed(adapter, values, part);
            else
                adapter.write(values, part * kSizeBytes);
        }
    }
    // Reads up to `count` values with one block operation; answers how many came whole.
    static std::uint32_t readArray(kxSerializeAdapter& adapter, T* values, std::uint32_t count,
                                   kxByteOrder order = KX_BYTE_ORDER_LITTLE)
    {
        std::uint32_t whole = 0;
        while (whole < count) {
            const std::uint32_t part = std::min(count - whole, kMostInBlock);
            const std::uint32_t came = adapter.read(values + whole, part * kSizeBytes);
            const std::uint32_t touched = came / kSizeBytes + (came % kSizeBytes != 0 ? 1 : 0);
            if (isSwapped(order)) reverse(values + whole, touched, values + whole);
            whole += came / kSizeBytes;
            if (came < part * kSizeBytes) break;
        }
        return whole;
    }

private:
    using Bits = typename kxBinary::BitsOfSize<sizeof(T)>::type;

    static constexpr std::uint32_t kSizeBytes = sizeof(T);
    static constexpr std::uint32_t kMostInBlock = std::numeric_limits<std::uint32_t>::max() / kSizeBytes;

    static constexpr bool isSwapped(kxByteOrder order) noexcept
    {
        return kSizeBytes > 1 && order != KX_BYTE_ORDER_HOST;
    }
    static Bits toStored(T value, kxByteOrder order) noexcept
    {
        return kxInByteOrder(std::bit_cast<Bits>(value), order);
    }
    static T fromStored(Bits stored, kxByteOrder order) noexcept
    {
        return std::bit_cast<T>(kxInByteOrder(stored, order));
    }
    // Moves whole values as bits: loaded as a floating number, one in the wrong order may look like a signalling NaN,
    // which some processors turn into a quiet one.
    static void reverse(const T* from, std::uint32_t count, void* to) noexcept
    {
        const auto* source = reinterpret_cast<const char*>(from);
        auto* target = static_cast<char*>(to);
        for (std::uint32_t index = 0; index < count; ++index, source += kSizeBytes, target += kSizeBytes) {
            Bits bits;
            std::copy_n(source, kSizeBytes, reinterpret_cast<char*>(&bits));
            bits = kxReversedBytes(bits);
            std::copy_n(reinterpret_cast<const char*>(&bits), kSizeBytes, target);
        }
    }
    static void writeReversed(kxSerializeAdapter& adapter, const T* values, std::uint32_t count)
    {
        kxItemBlock<Bits> reversed;
        reversed.reallocate(count, 0, 0);
        reverse(values, count, reversed.data());
        adapter.write(reversed.data(), count * kSizeBytes);
    }

    kxByteOrder order_;
    T value_;
};
