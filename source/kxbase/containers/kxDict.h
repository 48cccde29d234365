// Hashed dictionary from keys to values that are referred to by pointer; equal keys may be stored many times.
//
// Structure: each bucket is a singly linked list of entries in ascending order of hash, entries of one hash in
// the order of insertion. The links lie in the entries themselves instead of in list nodes beside them, which
// saves a step through memory for each entry looked at. A dictionary that grows by itself goes to four times
// its buckets plus 3 when an insertion finds two entries a bucket.
//
// Ownership: owns copies of the keys; values belong to the caller and must live while they are stored.
// Threads:   takes no lock. A lookup remembers what it found, so that several threads that only look up still
//            need an exclusive lock, unless the dictionary has been told not to remember.
// Errors:    null values are refused. A failed allocation throws std::bad_alloc and changes nothing. When keys
//            throw as the dictionary is cleared, all entries go and the first exception goes on.
//
// Range-for yields the entries: key(), value() and hash() of each.
#pragma once

#include "kxbase/containers/kxBucketIndex.h"
#include "kxbase/containers/kxDictEntry.h"
#include "kxbase/containers/kxDictPool.h"
#include "kxbase/containers/kxKeyTraits.h"
#include "kxbase/containers/kxLinkIterator.h"
#include "kxbase/containers/kxStorage.h"
#include "kxbase/object/kxReleaseAll.h"

#include <limits>
#include <type_traits>

constexpr std::uint32_t KX_DICT_BUCKETS = 10;

template <typename Key, typename Value, typename Traits = kxInstanceCompareInterface,
          typename Storage = kxTrackedStorage, typename Links = kxDictNoLinks>
class kxDict {
    class Cursor;

public:
    using Entry = kxDictEntry<Key, Value, Links>;

    // A dictionary of 0 buckets gets its first ones when it grows, or 1 at once when it does not grow.
    explicit kxDict(std::uint32_t bucketCount = KX_DICT_BUCKETS, bool autoGrow = true)
        : bucketOf_(bucketCount == 0 && !autoGrow ? 1 : bucketCount), autoGrow_(autoGrow)
    {}
    ~kxDict() noexcept(std::is_nothrow_destructible_v<Key>)
    {
        // Given back even when a key's destructor throws.
        const struct Buckets {
            Entry**& buckets;
            ~Buckets() { Storage::free(buckets); }
        } owned{buckets_};
        setReuse(false);
        clear();
    }
    kxDict(const kxDict&) = delete;
    kxDict& operator=(const kxDict&) = delete;

    // Adds an entry behind those of equal keys. False when the value is null, which changes nothing.
    bool insert(Key key, Value* value)
    {
        if (value != nullptr) insertEntry(std::move(key), value);
        return value != nullptr;
    }

    // The first value stored under the key, or null. With a previous value: the next one behind the last
    // entry of this key that holds the previous value.
    Value* find(const Key& key) const
    {
        const Entry* const entry = findEntry(key);
        return entry != nullptr ? entry->value_ : nullptr;
    }
    Value* find(const Key& key, const Value* previous) const
    {
        const Entry* const entry = previous != nullptr ? findEntryAfter(key, previous) : findEntry(key);
        return entry != nullptr ? entry->value_ : nullptr;
    }

    // Each removes one entry and returns its value, or null when there was none: the first of the key, the
    // first of the key that holds the value, or any one. `bucket` starts at 0 and tells takeAny where to go
    // on.
    Value* remove(const Key& key) { return removeAt(placeOf(key, nullptr)); }
    Value* remove(const Key& key, const Value* value)
    {
        return value != nullptr ? removeAt(placeOf(key, value)) : nullptr;
    }
    Value* takeAny(std::uint32_t& bucket) { return removeAt(anyPlace(bucket)); }
    void clear()
    {
        kxReleaseAll([this, bucket = std::uint32_t{0}]() mutable { return takeAny(bucket) != nullptr; });
    }

    bool isEmpty() const noexcept { return entryCount_ == 0; }
    std::uint32_t count() const noexcept { return entryCount_; }
    std::uint32_t bucketCount() const noexcept { return bucketOf_.divisor(); }

    // Keeps the records of removed entries for the next ones.
    void setReuse(bool reuse) noexcept { pool_.setReuse(reuse); }
    std::uint32_t spareCount() const noexcept { return pool_.spareCount(); }
    // Makes lookups remember nothing.
    void setNoCache(bool noCache) noexcept
    {
        noCache_ = noCache;
        forget();
    }

    // Walks all entries, bucket after bucket; insertion and removal end the walk's validity.
    using const_iterator = kxLinkIterator<const Entry&, Cursor>;
    using iterator = const_iterator;
    const_iterator begin() const noexcept
    {
        return buckets_ != nullptr ? const_iterator(Cursor(buckets_, buckets_ + bucketCount())) : end();
    }
    const_iterator end() const noexcept { return const_iterator(); }

protected:
    Entry* insertEntry(Key&& key, Value* value)
    {
        Entry* const entry = newEntry(std::move(key), value);
        try {
            makeBuckets();
        } catch (...) {
            destroyEntry(entry);
            throw;
        }
        const bool hashExists = insertSorted(entry);
        lastFound_ = hashExists || noCache_ ? nullptr : entry;
        ++entryCount_;
        return entry;
    }

    Entry* findEntry(const Key& key) const
    {
        if (entryCount_ == 0) return nullptr;
        const std::uint32_t hash = Traits::hash(key);
        Entry* const last = lastFound_;
        if (last != nullptr && last->hash_ == hash && Traits::isEqual(last->key_, key)) return last;
        Entry* entry = buckets_[bucketOf_(hash)];
        while (entry != nullptr && entry->hash_ < hash) entry = entry->next_;
        if (entry == nullptr || entry->hash_ != hash) return nullptr;
        if (!Traits::isEqual(entry->key_, key)) entry = findBehind(entry, hash, key);
        if (entry != nullptr && !noCache_) lastFound_ = entry;
        return entry;
    }
    Entry* findEntryAfter(const Key& key, const Value* previous) const
    {
        if (entryCount_ == 0) return nullptr;
        const std::uint32_t hash = Traits::hash(key);
        const std::uint16_t fingerprint = fingerprintOf(key);
        Entry* follower = nullptr;
        bool isBehind = false;
        for (Entry* entry = buckets_[bucketOf_(hash)]; entry != nullptr && entry->hash_ <= hash;
             entry = entry->next_) {
            if (!isMatch(*entry, hash, fingerprint, key)) continue;
            if (entry->value_ == previous) {
                // Not the last entry so far that holds it: a value stored twice must not send a walk back.
                isBehind = true;
                follower = nullptr;
            } else if (isBehind && follower == nullptr) {
                follower = entry;
            }
        }
        return follower;
    }

    // The place of an entry is the pointer that leads to it: the bucket, or next_ of the entry before. Null when
    // there is no such entry: the first of the key (that holds the value), or any one.
    Entry** placeOf(const Key& key, const Value* value)
    {
        if (entryCount_ == 0) return nullptr;
        const std::uint32_t hash = Traits::hash(key);
        const std::uint16_t fingerprint = fingerprintOf(key);
        for (Entry** place = &buckets_[bucketOf_(hash)]; *place != nullptr; place = &(*place)->next_) {
            Entry& entry = **place;
            if (entry.hash_ > hash) break;
            if (isMatch(entry, hash, fingerprint, key) && (value == nullptr || entry.value_ == value))
                return place;
        }
        return nullptr;
    }
    // From `bucket` on, and behind the last one from the first.
    Entry** anyPlace(std::uint32_t& bucket)
    {
        if (entryCount_ == 0) return nullptr;
        if (bucket >= bucketCount()) bucket = 0;
        while (buckets_[bucket] == nullptr) bucket = bucket + 1 != bucketCount() ? bucket + 1 : 0;
        return &buckets_[bucket];
    }
    // Removes the entry and returns its value; null at no place.
    Value* removeAt(Entry** place)
    {
        if (place == nullptr) return nullptr;
        Entry* const entry = *place;
        Value* const value = entry->value_;
        *place = entry->next_;
        --entryCount_;
        if (lastFound_ == entry) forget();
        destroyEntry(entry);
        return value;
    }

private:
    class Cursor {
    public:
        Cursor() noexcept = default;
        Cursor(Entry* const* firstBucket, Entry* const* end) noexcept : bucket_(firstBucket), end_(end)
        {
            skipEmpty();
        }
        const Entry& item() const noexcept { return *entry_; }
        void forward() noexcept
        {
            entry_ = entry_->next_;
            skipEmpty();
        }
        bool operator==(const Cursor& other) const noexcept { return entry_ == other.entry_; }

    private:
        void skipEmpty() noexcept
        {
            while (entry_ == nullptr && bucket_ != end_) entry_ = *bucket_++;
        }

        const Entry* entry_ = nullptr;
        Entry* const* bucket_ = nullptr;  // the next one to look into
        Entry* const* end_ = nullptr;
    };

    static std::uint16_t fingerprintOf(const Key& key)
    {
        if constexpr (requires { Traits::fingerprint(key); })
            return Traits::fingerprint(key);
        else
            return 0;
    }
    static bool isMatch(const Entry& entry, std::uint32_t hash, std::uint16_t fingerprint, const Key& key)
    {
        return entry.hash_ == hash && entry.fingerprint_ == fingerprint && Traits::isEqual(entry.key_, key);
    }
    // The first match behind an entry of the same hash. Only here, among keys that share a hash, does it pay
    // to ask for the fingerprint.
    static Entry* findBehind(Entry* entry, std::uint32_t hash, const Key& key)
    {
        const std::uint16_t fingerprint = fingerprintOf(key);
        do entry = entry->next_;
        while (entry != nullptr && entry->hash_ == hash && !isMatch(*entry, hash, fingerprint, key));
        return entry != nullptr && entry->hash_ == hash ? entry : nullptr;
    }
    Entry* newEntry(Key&& key, Value* value)
    {
        const std::uint32_t hash = Traits::hash(key);
        const std::uint16_t fingerprint = fingerprintOf(key);
        const auto record = pool_.take();
        try {
            return ::new (record.room) Entry(std::move(key), value, hash, fingerprint, record.place);
        } catch (...) {
            pool_.give(record.room, record.place);
            throw;
        }
    }
    void destroyEntry(Entry* entry)
    {
        // Given back even when the key's destructor throws.
        const struct Record {
            kxDictPool<Entry, Storage>& pool;
            Entry* entry;
            std::uint16_t place;
            ~Record() { pool.give(entry, place); }
        } record{pool_, entry, entry->place_};
        entry->~Entry();
    }
    void forget() const noexcept { lastFound_ = nullptr; }

    // Puts the entry behind all with a smaller or equal hash; answers whether its hash was there already.
    bool insertSorted(Entry* entry) noexcept
    {
        bool hashExists = false;
        Entry** place = &buckets_[bucketOf_(entry->hash_)];
        while (*place != nullptr && (*place)->hash_ <= entry->hash_) {
            hashExists = (*place)->hash_ == entry->hash_;
            place = &(*place)->next_;
        }
        entry->next_ = *place;
        *place = entry;
        return hashExists;
    }

    static Entry** newBuckets(std::uint32_t count)
    {
        auto** const buckets = static_cast<Entry**>(Storage::allocate(std::size_t{count} * sizeof(Entry*)));
        std::fill_n(buckets, count, nullptr);
        return buckets;
    }
    // For one entry more.
    void makeBuckets()
    {
        if (autoGrow_ && entryCount_ >= std::uint64_t{bucketCount()} * 2) grow();
        if (buckets_ == nullptr) buckets_ = newBuckets(bucketCount());
    }
    // Entries of one hash come from one bucket, one after the other, and so keep their order.
    void grow()
    {
        const std::uint64_t wanted = std::uint64_t{bucketCount()} * 4 + 3;
        if (wanted > std::numeric_limits<std::uint32_t>::max()) return;
        const auto count = static_cast<std::uint32_t>(wanted);
        Entry** const old = std::exchange(buckets_, newBuckets(count));
        const std::uint32_t oldCount = old != nullptr ? bucketCount() : 0;
        bucketOf_ = kxBucketIndex(count);
        for (std::uint32_t bucket = 0; bucket < oldCount; ++bucket)
            for (Entry* entry = old[bucket]; entry != nullptr;)
                insertSorted(std::exchange(entry, entry->next_));
        Storage::free(old);
    }

    kxBucketIndex bucketOf_;
    std::uint32_t entryCount_ = 0;
    // Null, or an entry that is the first one of its key, so that it is what a lookup of the key finds.
    mutable Entry* lastFound_ = nullptr;
    Entry** buckets_ = nullptr;  // made by the first insertion
    kxDictPool<Entry, Storage> pool_;
    const bool autoGrow_;
    bool noCache_ = false;
};
