// The way back from the ids of kxRefInstanceDictionary: from an id to the object that has been read under it.
//
// Ownership: holds a reference to every object in the table.
// Threads:   takes no lock; one thread at a time.
// Errors:    null is refused. A failed allocation throws std::bad_alloc; an addition then changes nothing.
#pragma once

#include "kxbase/containers/kxRefDict.h"
#include "kxbase/object/kxReference.h"
#include "kxbase/platform/kxPlatformRandom.h"

#include <optional>

class kxInstanceTable {
public:
    // Takes the number of buckets to begin with.
    explicit kxInstanceTable(std::uint32_t bucketCount)
        : bucketCount_(bucketCount), objects_(std::in_place, bucketCount)
    {}
    ~kxInstanceTable() noexcept(false) { objects_->clear(); }

    // False, and nothing changed, when the object is null or the id is taken.
    bool add(std::uint32_t id, kxReference* object)
    {
        return objects_->find(id) == nullptr && objects_->insert(id, object);
    }
    // Null when no object has the id.
    kxReference* find(std::uint32_t id) const { return objects_->find(id); }
    // The next table begins as small as the first: what a stream clears again and again must not cost as much as
    // the largest one that it has filled.
    void clear()
    {
        objects_->clear();
        objects_.emplace(bucketCount_);
    }
    std::uint32_t count() const noexcept { return objects_->count(); }

private:
    // Ids come from streams of others, who must not know which of them fall into one bucket.
    struct IdTraits {
        static std::uint32_t hash(std::uint32_t id) noexcept
        {
            static const std::uint64_t factor = randomFactor();
            return static_cast<std::uint32_t>(id * factor >> 32U);
        }
        static bool isEqual(std::uint32_t left, std::uint32_t right) noexcept { return left == right; }

    private:
        static std::uint64_t randomFactor() noexcept
        {
            std::uint64_t factor = 0;
            // Without random numbers from the system, others may guess the buckets, which costs time and no more.
            if (!kxPlatformRandom(&factor, sizeof(factor))) factor = 0x9E3779B97F4A7C15U;
            return factor | 1U;
        }
    };

    const std::uint32_t bucketCount_;
    std::optional<kxRefDict<std::uint32_t, kxReference, IdTraits>> objects_;
};
