// Singly linked list of reference counted objects.
//
// Ownership: holds one reference to each object for as long as the object is in the list.
// Threads:   takes no lock; one thread at a time.
// Errors:    null is refused; releasing a miscounted object is fatal.
//
// Range-for yields T*. An object is out of the list before its reference is dropped.
#pragma once

#include "kxbase/containers/kxList.h"
#include "kxbase/object/kxRefPointer.h"

template <typename T> class kxRefList {
    using Objects = kxList<kxRefPointer<T>>;

    struct Cursor {
        T* item() const noexcept { return place->get(); }
        void forward() noexcept { ++place; }
        bool operator==(const Cursor&) const noexcept = default;

        typename Objects::const_iterator place;
    };

public:
    using const_iterator = kxLinkIterator<T*, Cursor>;
    using iterator = const_iterator;

    // False when the object is null, which leaves the list as it is.
    bool append(T* object)
    {
        if (object != nullptr) objects_.append(object);
        return object != nullptr;
    }
    bool append(const kxRefPointer<T>& object) { return append(object.get()); }
    bool prepend(T* object)
    {
        if (object != nullptr) objects_.prepend(object);
        return object != nullptr;
    }
    // Drops the first place that holds the object; answers whether there was one.
    bool remove(const T* object)
    {
        return objects_.removeFirstWhere([object](const auto& held) { return held.get() == object; });
    }
    // Hands over the first object with the list's reference; null when the list is empty.
    kxRefPointer<T> takeFirst() { return isEmpty() ? kxRefPointer<T>() : objects_.takeFirst(); }
    void clear() { objects_.clear(); }

    bool isEmpty() const noexcept { return objects_.isEmpty(); }
    std::uint32_t count() const noexcept { return objects_.count(); }
    // Null when the list has no such object.
    T* first() const noexcept { return objectIn(objects_.first()); }
    T* last() const noexcept { return objectIn(objects_.last()); }
    // By counting from the front; null at or beyond the end.
    T* at(std::size_t index) const noexcept { return objectIn(objects_.at(index)); }

    const_iterator begin() const noexcept { return const_iterator({objects_.begin()}); }
    const_iterator end() const noexcept { return const_iterator({objects_.end()}); }

    // See kxList::setReuse.
    void setReuse(bool reuse) noexcept { objects_.setReuse(reuse); }

private:
    static T* objectIn(const kxRefPointer<T>* place) noexcept
    {
        return place != nullptr ? place->get() : nullptr;
    }

    Objects objects_;
};
