// The ids that a stream has given to the objects written to it: from an object's identity to its id.
//
// Ownership: holds a reference to every object in the table, so that no address is used for a second object.
// Threads:   takes no lock; one thread at a time.
// Errors:    null is refused. A failed allocation throws std::bad_alloc and changes nothing.
#pragma once

#include "kxbase/containers/kxDict.h"
#include "kxbase/containers/kxList.h"
#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxReference.h"

#include <optional>

class kxRefInstanceDictionary {
public:
    // The size is the number of buckets to begin with.
    explicit kxRefInstanceDictionary(std::uint32_t size) : size_(size), index_(std::in_place, size) {}
    ~kxRefInstanceDictionary() noexcept(false) { clear(); }

    // Gives the object its id. False, and nothing changed, when it is null or has an id already.
    bool add(const kxReference* object, std::uint32_t id);
    // False, and `id` unchanged, when the object has none.
    bool find(const kxReference* object, std::uint32_t& id) const;
    // The next table begins as small as the first, so that clearing costs no more than what was added.
    void clear();
    std::uint32_t count() const noexcept { return index_->count(); }

private:
    struct Instance {
        kxRefPointer<const kxReference> object;
        std::uint32_t id;
    };

    const std::uint32_t size_;
    kxList<Instance> instances_;
    std::optional<kxDict<const kxReference*, const Instance, kxInstanceCompareInterface>> index_;
};
