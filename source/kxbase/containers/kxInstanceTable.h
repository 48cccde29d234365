// The way back from the ids of kxRefInstanceDictionary: from an id to the object that has been read under it.
//
// Ownership: holds a reference to every object in the table.
// Threads:   takes no lock; one thread at a time.
// Errors:    null is refused.
#pragma once

#include "kxbase/containers/kxRefDict.h"
#include "kxbase/object/kxReference.h"

class kxInstanceTable {
public:
    // The size is the number of buckets to begin with.
    explicit kxInstanceTable(std::uint32_t size) : objects_(size) {}

    // False, and nothing changed, when the object is null or the id is taken.
    bool add(std::uint32_t id, kxReference* object)
    {
        return objects_.find(id) == nullptr && objects_.insert(id, object);
    }
    // Null when no object has the id.
    kxReference* find(std::uint32_t id) const { return objects_.find(id); }
    void clear() { objects_.clear(); }
    std::uint32_t count() const noexcept { return objects_.count(); }

private:
    kxRefDict<std::uint32_t, kxReference, kxUInt32CompareInterface> objects_;
};
