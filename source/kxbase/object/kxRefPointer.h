// Holds one reference to a T derived from kxReference, or null.
//
// Ownership: the object lives at least as long as a pointer that holds it. Assignment references the new
//            object before it releases the old one and stores the pointer before the release runs foreign
//            code, so chains that refer to themselves stay whole.
// Threads:   a pointer is a plain value: several threads may each have their own to one thread-safe object,
//            not share one pointer.
// Errors:    releasing a miscounted object is fatal, from the destructor too; while another exception passes
//            it is a Fatal message instead.
//
// As its destructor may throw, a std::vector copies these pointers when it grows, counting up and down, and g++ 12
// compiles no std::thread from a function object that holds one. kxRefHolder has neither cost; the containers of
// this library move their items in any case.
//
// T may be incomplete where pointers are declared, compared and moved; it is complete where one takes or drops a
// reference.
#pragma once

#include "kxbase/object/kxDestructorRelease.h"
#include "kxbase/object/kxTypeTable.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <utility>

template <typename T> class kxRefPointer {
    // Forms for a U* that becomes a T* only. An expression and no concept: compilers keep the answer of a
    // concept, and it would stay "no" for a U that has been asked for while it was incomplete.
    template <typename U> using Convertible = decltype(std::declval<T*&>() = std::declval<U*>());

public:
    using element_type = T;

    constexpr kxRefPointer() noexcept = default;
    constexpr kxRefPointer(std::nullptr_t) noexcept {}
    kxRefPointer(T* object) : object_(object) { reference(); }
    kxRefPointer(const kxRefPointer& other) : object_(other.object_) { reference(); }
    kxRefPointer(kxRefPointer&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <typename U, typename = Convertible<U>>
    kxRefPointer(const kxRefPointer<U>& other) : object_(other.object_)
    {
        reference();
    }
    template <typename U, typename = Convertible<U>>
    kxRefPointer(kxRefPointer<U>&& other) noexcept : object_(std::exchange(other.object_, nullptr))
    {}
    ~kxRefPointer() noexcept(false)
    {
        if (object_ != nullptr) kxDestructorRelease::run(*object_);
    }

    kxRefPointer& operator=(T* object)
    {
        if (object != object_) kxRefPointer(object).swap(*this);
        return *this;
    }
    kxRefPointer& operator=(std::nullptr_t) { return *this = static_cast<T*>(nullptr); }
    kxRefPointer& operator=(const kxRefPointer& other) { return *this = other.object_; }
    kxRefPointer& operator=(kxRefPointer&& other)
    {
        kxRefPointer(std::move(other)).swap(*this);
        return *this;
    }
    template <typename U, typename = Convertible<U>> kxRefPointer& operator=(const kxRefPointer<U>& other)
    {
        return *this = other.get();
    }
    template <typename U, typename = Convertible<U>> kxRefPointer& operator=(kxRefPointer<U>&& other)
    {
        kxRefPointer(std::move(other)).swap(*this);
        return *this;
    }

    void swap(kxRefPointer& other) noexcept { std::swap(object_, other.object_); }
    friend void swap(kxRefPointer& left, kxRefPointer& right) noexcept { left.swap(right); }

    T* get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    // The same object as a U, which the caller knows it to be.
    template <typename U> kxRefPointer<U> staticCast() const
    {
        return kxRefPointer<U>(static_cast<U*>(object_));
    }
    // The same object as a U if its descriptor says that it is one, else null. U has a row in the type table;
    // the second form is for classes with a descriptor of their own, which must be the one of U.
    template <typename U> kxRefPointer<U> dynamicCast() const { return dynamicCast<U>(kxTypeTable::of<U>()); }
    template <typename U> kxRefPointer<U> dynamicCast(const kxType& typeOfU) const
    {
        if (object_ == nullptr || !object_->getType().isKindOf(typeOfU)) return nullptr;
        return staticCast<U>();
    }

private:
    template <typename U> friend class kxRefPointer;

    void reference() const
    {
        if (object_ != nullptr) object_->ref();
    }

    T* object_ = nullptr;
};

template <typename T, typename U>
bool operator==(const kxRefPointer<T>& left, const kxRefPointer<U>& right) noexcept
{
    return left.get() == right.get();
}
template <typename T, typename U> bool operator==(const kxRefPointer<T>& left, U* right) noexcept
{
    return left.get() == right;
}
template <typename T> bool operator==(const kxRefPointer<T>& left, std::nullptr_t) noexcept
{
    return left.get() == nullptr;
}
// Order of addresses, for sorted containers.
template <typename T>
std::strong_ordering operator<=>(const kxRefPointer<T>& left, const kxRefPointer<T>& right) noexcept
{
    return std::compare_three_way{}(left.get(), right.get());
}

template <typename T> struct std::hash<kxRefPointer<T>> {
    std::size_t operator()(const kxRefPointer<T>& pointer) const noexcept
    {
        return std::hash<T*>{}(pointer.get());
    }
};

// Builds a T and takes its first reference.
template <typename T, typename... Arguments> kxRefPointer<T> kxMakeRef(Arguments&&... arguments)
{
    return kxRefPointer<T>(new T(std::forward<Arguments>(arguments)...));
}
