// The bytes of a dynamic value: a few lie in the object itself, more in a block of tracked memory.
//
// Ownership: owns its bytes; a copy has bytes of its own.
// Threads:   a plain value.
// Errors:    a failed allocation reports "Bad Alloc:" and throws std::bad_alloc.
#pragma once

#include "kxbase/core/kxMoveBytes.h"
#include "kxbase/core/kxTrackedMemory.h"
#include "kxbase/serialize/kxByteOrder.h"

#include <cstdint>
#include <cstring>
#include <span>
#include <utility>

class kxDynamicBytes {
public:
    // What a GUID or four single-precision components need.
    static constexpr std::uint32_t KX_INSIDE_BYTES = 16;

    kxDynamicBytes() noexcept = default;
    kxDynamicBytes(const void* bytes, std::uint32_t size) : size_(size)
    {
        if (isInside()) {
            kxMoveBytes(place_.inside, bytes, size);
            return;
        }
        place_.block = static_cast<std::uint8_t*>(kxTrackedAllocate(size));
        std::memcpy(place_.block, bytes, size);
    }
    // The lowest `size` bytes of a number, at most eight, in their stored order.
    static kxDynamicBytes ofNumber(std::uint64_t bits, std::uint32_t size = sizeof(std::uint64_t)) noexcept
    {
        bits = kxInByteOrder(bits, KX_BYTE_ORDER_LITTLE);
        kxDynamicBytes bytes;
        std::memcpy(bytes.place_.inside, &bits, sizeof(bits));
        bytes.size_ = size;
        return bytes;
    }
    kxDynamicBytes(const kxDynamicBytes& other) : place_(other.place_), size_(other.size_)
    {
        if (isInside()) return;
        place_.block = static_cast<std::uint8_t*>(kxTrackedAllocate(size_));
        std::memcpy(place_.block, other.place_.block, size_);
    }
    kxDynamicBytes(kxDynamicBytes&& other) noexcept : size_(std::exchange(other.size_, 0U))
    {
        // In words of eight bytes, as numbers are stored: a load of all 16 that follows such a store at once stalls
        // until it has reached the cache.
        place_.words[0] = other.place_.words[0];
        if (size_ > sizeof(std::uint64_t)) place_.words[1] = other.place_.words[1];
    }
    kxDynamicBytes& operator=(kxDynamicBytes other) noexcept
    {
        std::swap(place_, other.place_);
        std::swap(size_, other.size_);
        return *this;
    }
    ~kxDynamicBytes()
    {
        if (!isInside()) kxTrackedFree(place_.block);
    }

    const std::uint8_t* data() const noexcept { return isInside() ? place_.inside : place_.block; }
    std::uint32_t size() const noexcept { return size_; }
    operator std::span<const std::uint8_t>() const noexcept { return {data(), size_}; }

private:
    bool isInside() const noexcept { return size_ <= KX_INSIDE_BYTES; }

    union {
        std::uint8_t inside[KX_INSIDE_BYTES] = {};
        std::uint8_t* block;
        std::uint64_t words[2];
    } place_;
    std::uint32_t size_ = 0;
};
