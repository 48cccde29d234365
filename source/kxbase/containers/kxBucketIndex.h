// Remainder of a 32-bit hash by a number of buckets, without a division.
//
// Lemire, Kaser, Kurz: "Faster remainder by direct computation" (2019). With M = floor((2^64 - 1) / d) + 1, the
// fraction h / d is M * h mod 2^64, and the remainder is the high word of its product with d; exact for every
// 32-bit h and d.
//
// Threads: a plain value.
#pragma once

#include <cstdint>

class kxBucketIndex {
public:
    constexpr kxBucketIndex() noexcept = default;
    // A divisor of 0 gives an object that must not be asked.
    constexpr explicit kxBucketIndex(std::uint32_t divisor) noexcept
        : divisor_(divisor), reciprocal_(divisor != 0 ? UINT64_MAX / divisor + 1 : 0)
    {}

    constexpr std::uint32_t divisor() const noexcept { return divisor_; }
    constexpr std::uint32_t operator()(std::uint32_t hash) const noexcept
    {
        const std::uint64_t fraction = reciprocal_ * hash;
        const std::uint64_t carry = ((fraction & 0xFFFFFFFFU) * divisor_) >> 32;
        return static_cast<std::uint32_t>(((fraction >> 32) * divisor_ + carry) >> 32);
    }

private:
    std::uint32_t divisor_ = 0;
    std::uint64_t reciprocal_ = 0;
};
