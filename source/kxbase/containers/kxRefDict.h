// Dictionary from keys to reference counted objects; see kxDict.
//
// Ownership: holds one reference to each object for each entry of it.
// Threads:   as kxDict.
// Errors:    null is refused; releasing a miscounted object is fatal, in the destructor as kxRefPointer has it.
//
// An entry is out of the dictionary before its reference is dropped.
#pragma once

#include "kxbase/containers/kxDict.h"
#include "kxbase/object/kxRefPointer.h"

template <typename Key, typename T, typename Traits = kxInstanceCompareInterface> class kxRefDict {
    using Objects = kxDict<Key, T, Traits>;

public:
    explicit kxRefDict(std::uint32_t bucketCount = KX_DICT_BUCKETS, bool autoGrow = true)
        : objects_(bucketCount, autoGrow)
    {}
    ~kxRefDict() noexcept(false)
    {
        std::uint32_t bucket = 0;
        while (T* const object = objects_.takeAny(bucket)) kxDestructorRelease::run(*object);
    }
    kxRefDict(const kxRefDict&) = delete;
    kxRefDict& operator=(const kxRefDict&) = delete;

    bool insert(Key key, T* object)
    {
        if (!objects_.insert(std::move(key), object)) return false;
        object->ref();
        return true;
    }
    bool insert(Key key, const kxRefPointer<T>& object) { return insert(std::move(key), object.get()); }

    // See kxDict::find. The object stays the dictionary's.
    T* find(const Key& key) const { return objects_.find(key); }
    T* find(const Key& key, const T* previous) const { return objects_.find(key, previous); }

    // Each removes one entry; answers whether there was one.
    bool remove(const Key& key) { return drop(objects_.remove(key)); }
    bool remove(const Key& key, const T* object) { return drop(objects_.remove(key, object)); }
    void clear()
    {
        std::uint32_t bucket = 0;
        while (drop(objects_.takeAny(bucket))) {
        }
    }

    bool isEmpty() const noexcept { return objects_.isEmpty(); }
    std::uint32_t count() const noexcept { return objects_.count(); }
    std::uint32_t bucketCount() const noexcept { return objects_.bucketCount(); }
    void setReuse(bool reuse) noexcept { objects_.setReuse(reuse); }
    void setNoCache(bool noCache) noexcept { objects_.setNoCache(noCache); }

    using const_iterator = typename Objects::const_iterator;
    using iterator = const_iterator;
    const_iterator begin() const noexcept { return objects_.begin(); }
    const_iterator end() const noexcept { return objects_.end(); }

private:
    static bool drop(T* object)
    {
        if (object != nullptr) object->unref();
        return object != nullptr;
    }

    Objects objects_;
};
