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
    Value* remove(const Key& key) { return removeLinked(Dict::linkTo(key, nullptr)); }
    Value* remove(const Key& key, const Value* value)
    {
        return value != nullptr ? removeLinked(Dict::linkTo(key, value)) : nullptr;
    }
    void clear()
    {
        first_ = last_ = nullptr;
        Dict::clear();
    }

    // The entries inserted first and last; null when there are none.
    const Entry* first() const noexcept { return first_; }
    const Entry* last() const noexcept { return last_; }

    class const_iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;
        using pointer = const Entry*;
        using reference = const Entry&;

        const_iterator() noexcept = default;
        explicit const_iterator(const Entry* entry) noexcept : entry_(entry) {}
        const Entry& operator*() const noexcept { return *entry_; }
        const Entry* operator->() const noexcept { return entry_; }
        const_iterator& operator++() noexcept
        {
            entry_ = kxDictList::following(entry_);
            return *this;
        }
        const_iterator operator++(int) noexcept
        {
            return const_iterator(std::exchange(entry_, kxDictList::following(entry_)));
        }
        friend bool operator==(const_iterator left, const_iterator right) noexcept
        {
            return left.entry_ == right.entry_;
        }

    private:
        const Entry* entry_ = nullptr;
    };
    using iterator = const_iterator;
    const_iterator begin() const noexcept { return const_iterator(first_); }
    const_iterator end() const noexcept { return const_iterator(); }

private:
    static const Entry* following(const Entry* entry) noexcept { return entry->links_.next; }

    Value* removeLinked(Entry** link)
    {
        if (link == nullptr) return nullptr;
        const auto& neighbours = (*link)->links_;
        (neighbours.previous != nullptr ? neighbours.previous->links_.next : first_) = neighbours.next;
        (neighbours.next != nullptr ? neighbours.next->links_.previous : last_) = neighbours.previous;
        return Dict::removeAt(link);
    }

    Entry* first_ = nullptr;
    Entry* last_ = nullptr;
};
