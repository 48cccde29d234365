// A set of character units: each of the first 256 by itself, all higher ones together, and "nothing", which says
// that no unit is needed at all.
//
// Threads: a plain value.
#pragma once

#include <bitset>
#include <string>
#include <string_view>

class kxUnitSet {
public:
    static constexpr char16_t kHigh = 256;
    static constexpr std::size_t kNothing = 257;

    kxUnitSet() = default;
    explicit kxUnitSet(std::string_view units)
    {
        for (const char unit : units) add(static_cast<unsigned char>(unit));
    }
    // Every unit, and nothing too.
    static kxUnitSet all()
    {
        kxUnitSet set;
        set.bits_.set();
        return set;
    }

    void add(char16_t unit) { bits_.set(unit < kHigh ? unit : kHigh); }
    void addNothing() { bits_.set(kNothing); }
    void removeNothing() { bits_.reset(kNothing); }
    // All units that are not in the set.
    void invert()
    {
        bits_.flip();
        removeNothing();
    }
    void removeHigh() { bits_.reset(kHigh); }
    void remove(const kxUnitSet& other) { bits_ &= ~other.bits_; }
    bool contains(char16_t unit) const { return bits_[unit < kHigh ? unit : kHigh]; }
    bool hasNothing() const { return bits_[kNothing]; }
    bool overlaps(const kxUnitSet& other) const { return (bits_ & other.bits_).any(); }
    kxUnitSet& operator|=(const kxUnitSet& other)
    {
        bits_ |= other.bits_;
        return *this;
    }
    friend bool operator==(const kxUnitSet& left, const kxUnitSet& right)
    {
        return left.bits_ == right.bits_;
    }

    // For people and tests: "[0-9a-fx7F high nothing]"; units that are not printable as x and two digits.
    std::string print() const;

private:
    std::bitset<258> bits_;
};
