// Dictionary from keys to reference counted objects; see kxDict.
//
// Ownership: holds one reference to each object for each entry of it.
// Threads:   as kxDict.
// Errors:    null is refused; releasing a miscounted object is fatal, in the destructor as kxRefPointer has it. A
//            failed insertion changes nothing, and an object that nobody else holds goes with it. When objects
//            throw as the dictionary is cleared, all go and the first exception goes on.
//
// Range-for yields the entries of kxDict: key(), and value(), which is a T*. An entry is out of the dictionary
// before its reference is dropped.
#pragma once

#include "kxbase/containers/kxDict.h"
#include "kxbase/object/kxRefPointer.h"

template <typename Key, typename T, typename Traits = kxInstanceCompareInterface>
class kxRefDict : private kxDict<Key, T, Traits> {
    using Dict = kxDict<Key, T, Traits>;

public:
    using typename Dict::const_iterator;
    using typename Dict::Entry;
    using typename Dict::iterator;

    using Dict::Dict;
    ~kxRefDict() noexcept(false) { clear(); }

    using Dict::begin;
    using Dict::bucketCount;
    using Dict::count;
    using Dict::end;
    using Dict::isEmpty;
    using Dict::setNoCache;
    using Dict::setReuse;
    using Dict::spareCount;

    bool insert(Key key, T* object)
    {
        if (object == nullptr) return false;
        object->ref();
        try {
            return Dict::insert(std::move(key), object);
        } catch (...) {
            object->unref();
            throw;
        }
    }
    bool insert(Key key, const kxRefPointer<T>& object) { return insert(std::move(key), object.get()); }

    // See kxDict::find. The object stays the dictionary's.
    using Dict::find;

    // Each removes one entry; answers whether there was one.
    bool remove(const Key& key) { return removeHeld(Dict::placeOf(key, nullptr)); }
    bool remove(const Key& key, const T* object)
    {
        return object != nullptr && removeHeld(Dict::placeOf(key, object));
    }
    void clear()
    {
        kxReleaseAll(
            [this, bucket = std::uint32_t{0}]() mutable { return removeHeld(Dict::anyPlace(bucket)); });
    }

private:
    bool removeHeld(Entry** place)
    {
        if (place == nullptr) return false;
        // Dropped even when the key's destructor throws.
        const struct Held {
            T& object;
            ~Held() noexcept(false) { kxDestructorRelease::run(object); }
        } held{*(*place)->value()};
        Dict::removeAt(place);
        return true;
    }
};
