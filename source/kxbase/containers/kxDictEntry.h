// One entry of a dictionary as its users see it: key, value and hash.
//
// The fields that a walk along a bucket touches stand in front, so that they share a cache line.
#pragma once

#include <cstdint>
#include <utility>

// What an entry carries beyond its dictionary's needs: nothing.
struct kxDictNoLinks {};

template <typename Key, typename Value, typename Links = kxDictNoLinks> class kxDictEntry {
public:
    kxDictEntry(Key&& key, Value* value, std::uint32_t hash, std::uint16_t fingerprint, std::uint16_t place)
        : hash_(hash), fingerprint_(fingerprint), place_(place), key_(std::move(key)), value_(value)
    {}

    const Key& key() const noexcept { return key_; }
    Value* value() const noexcept { return value_; }
    std::uint32_t hash() const noexcept { return hash_; }

private:
    template <typename, typename, typename, typename, typename> friend class kxDict;
    template <typename, typename, typename, typename> friend class kxDictList;

    kxDictEntry* next_ = nullptr;  // in the bucket
    std::uint32_t hash_;
    std::uint16_t fingerprint_;
    std::uint16_t place_;  // of the record, for the pool
    Key key_;
    Value* value_;
    [[no_unique_address]] Links links_{};
};
