// Dictionary that also keeps its entries in the order of their insertion; see kxDict.
//
// Ownership, threads and errors are those of kxDict. Range-for yields the entries in the order of insertion.
#pragma once

#include "kxbase/containers/kxDict.h"

template <typename Key, typename Value> struct kxDictOrderLinks {
    using Entry = kxDictEntry<Key, Value, kxDictOrderLinks>;

    Entry* previous = nullptr;
    Entry* next = nullptr;
};

template <typename Key, typename Value, typename Traits = kxInstanceCompareInterface,
          typename Storage = kxTrackedStorage>
class kxDictList : private kxDict<Key, Value, Traits, Storage, kxDictOrderLinks<Key, Value>> {
    using Dict = kxDict<Key, Value, Traits, Storage, kxDictOrderLinks<Key, Value>>;
    using OrderedEntry = typename Dict::Entry;

    struct Cursor {
        const OrderedEntry& item() const noexcept { return *entry; }
        void forward() noexcept { entry = kxDictList::following(entry); }
        bool operator==(const Cursor&) const noexcept = default;

        const OrderedEntry* entry = nullptr;
    };

public:
    using typename Dict::Entry;

    using Dict::Dict;

    using Dict::bucketCount;
    using Dict::count;
    using Dict::find;
    using Dict::isEmpty;
    using Dict::setNoCache;
    using Dict::setReuse;
    using Dict::spareCount;

    bool insert(Key key, Value* value)
    {
        if (value == nullptr) return false;
        Entry* const entry = Dict::insertEntry(std::move(key), value);
        entry->links_.previous = last_;
        (last_ != nullptr ? last_->links_.next : first_) = entry;
        last_ = entry;
        return true;
    }
    // Each removes one entry and returns its value, or null when there was none.
    Value* remove(const Key& key) { return removeLinked(Dict::placeOf(key, nullptr)); }
    Value* remove(const Key& key, const Value* value)
    {
        return value != nullptr ? removeLinked(Dict::placeOf(key, value)) : nullptr;
    }
    void clear()
    {
        kxReleaseAll([this, bucket = std::uint32_t{0}]() mutable {
            return removeLinked(Dict::anyPlace(bucket)) != nullptr;
        });
    }

    // The entries inserted first and last; null when there are none.
    const Entry* first() const noexcept { return first_; }
    const Entry* last() const noexcept { return last_; }

    using const_iterator = kxLinkIterator<const Entry&, Cursor>;
    using iterator = const_iterator;
    const_iterator begin() const noexcept { return const_iterator({first_}); }
    const_iterator end() const noexcept { return const_iterator(); }

private:
    static const Entry* following(const Entry* entry) noexcept { return entry->links_.next; }

    Value* removeLinked(Entry** place)
    {
        if (place == nullptr) return nullptr;
        const auto& neighbours = (*place)->links_;
        (neighbours.previous != nullptr ? neighbours.previous->links_.next : first_) = neighbours.next;
        (neighbours.next != nullptr ? neighbours.next->links_.previous : last_) = neighbours.previous;
        return Dict::removeAt(place);
    }

    Entry* first_ = nullptr;
    Entry* last_ = nullptr;
};
