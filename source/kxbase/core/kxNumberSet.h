// A set of numbers below Limit, in bits, that answers its lowest number in constant time: above each word of bits
// stands one bit that tells whether the word has any.
//
// Threads: takes no lock; one thread at a time. Constant-initialised, in zeros; it allocates nothing.
#pragma once

#include <bit>
#include <cstdint>

template <std::uint32_t Limit> class kxNumberSet {
public:
    // Inserting what is in the set and removing what is not changes nothing.
    void insert(std::uint32_t number) noexcept
    {
        if (put(lowest_, number) && put(middle_, number / kBits)) put(top_, number / (kBits * kBits));
    }
    void remove(std::uint32_t number) noexcept
    {
        if (drop(lowest_, number) && drop(middle_, number / kBits)) drop(top_, number / (kBits * kBits));
    }
    // Limit when the set is empty.
    std::uint32_t lowest() const noexcept
    {
        for (std::uint32_t at = 0; at < words(kBits * kBits); ++at) {
            if (top_[at] == 0) continue;
            const std::uint32_t middle = at * kBits + first(top_[at]);
            const std::uint32_t low = middle * kBits + first(middle_[middle]);
            return low * kBits + first(lowest_[low]);
        }
        return Limit;
    }

private:
    static constexpr std::uint32_t kBits = 64;

    static constexpr std::uint32_t words(std::uint32_t numbersForBit)
    {
        const std::uint32_t bits = (Limit + numbersForBit - 1) / numbersForBit;
        return (bits + kBits - 1) / kBits;
    }
    static std::uint32_t first(std::uint64_t word) noexcept
    {
        return static_cast<std::uint32_t>(std::countr_zero(word));
    }
    // Each answers whether the word has become, or ceased to be, one with bits.
    static bool put(std::uint64_t* level, std::uint32_t number) noexcept
    {
        std::uint64_t& word = level[number / kBits];
        const bool wasEmpty = word == 0;
        word |= std::uint64_t{1} << number % kBits;
        return wasEmpty;
    }
    static bool drop(std::uint64_t* level, std::uint32_t number) noexcept
    {
        std::uint64_t& word = level[number / kBits];
        word &= ~(std::uint64_t{1} << number % kBits);
        return word == 0;
    }

    std::uint64_t lowest_[words(1)] = {};
    std::uint64_t middle_[words(kBits)] = {};
    std::uint64_t top_[words(kBits * kBits)] = {};
};
