// Contiguous items, counted with 32 bits.
//
// Ownership: owns its items; a copy has copies of them. The room does not shrink.
// Threads:   takes no lock; one thread at a time.
// Errors:    an index at or beyond the size is fatal. A failed allocation throws std::bad_alloc and leaves the
//            array as it was; so does growing beyond 32 bits. When items throw as they are cut off, all go and
//            the first exception goes on.
// Items may use the array from their destructors: those that are cut off find it empty, and what they append goes
// behind the items that stay.
//
// Growing may move the items: pointers, references and iterators end with it.
#pragma once

#include "kxbase/containers/kxItemBlock.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/object/kxReleaseAll.h"

#include <algorithm>
#include <limits>

template <typename T> class kxArray {
public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    kxArray() noexcept = default;
    // Items with their initial value, which is zero for numbers.
    explicit kxArray(std::uint32_t size) { resize(size); }
    kxArray(const T* items, std::uint32_t count) { appendBlock(items, count); }
    kxArray(const kxArray& other) : growthStep_(other.growthStep_) { appendBlock(other.data(), other.size_); }
    kxArray(kxArray&& other) noexcept
        : block_(std::move(other.block_)), size_(std::exchange(other.size_, 0U)),
          growthStep_(other.growthStep_)
    {}
    kxArray& operator=(kxArray other) noexcept
    {
        swap(other);
        return *this;
    }
    ~kxArray() noexcept(std::is_nothrow_destructible_v<T>)
    {
        kxReleaseAll([this] {
            clear();
            return !isEmpty();
        });
    }

    std::uint32_t size() const noexcept { return size_; }
    bool isEmpty() const noexcept { return size_ == 0; }
    // Items that the array has room for.
    std::uint32_t capacity() const noexcept { return block_.capacity(); }

    // Indices are taken as wide as they come, so that none is cut to one that exists.
    T& operator[](std::size_t index)
    {
        if (index >= size_) kxRaiseTemplateFatal("kxArray [] index out of bounds");
        return data()[index];
    }
    const T& operator[](std::size_t index) const { return const_cast<kxArray&>(*this)[index]; }
    const T& get(std::size_t index) const
    {
        if (index >= size_) kxRaiseFatal("kxArray get() index out of bounds");
        return data()[index];
    }

    T* data() noexcept { return block_.data(); }
    const T* data() const noexcept { return block_.data(); }
    iterator begin() noexcept { return data(); }
    iterator end() noexcept { return data() + size_; }
    const_iterator begin() const noexcept { return data(); }
    const_iterator end() const noexcept { return data() + size_; }

    // Cuts items off the end or adds items with their initial value.
    void resize(std::uint32_t size)
    {
        if (size <= size_) return cutTo(size);
        const std::uint32_t added = size - size_;
        makeRoom(added);
        std::uninitialized_value_construct_n(data() + size_, added);
        size_ += added;
    }
    T& append(T item)
    {
        makeRoom(1);
        T* const place = ::new (static_cast<void*>(data() + size_)) T(std::move(item));
        ++size_;
        return *place;
    }
    // The items must not be this array's own.
    void appendBlock(const T* items, std::uint32_t count)
    {
        if (count == 0) return;
        makeRoom(count);
        std::uninitialized_copy_n(items, count, data() + size_);
        size_ += count;
    }
    // Makes room for `capacity` items, up to a growth step.
    void reserve(std::uint32_t capacity)
    {
        if (capacity > this->capacity()) growTo(capacity, 0);
    }
    void clear() { cutTo(0); }

    void swap(kxArray& other) noexcept
    {
        block_.swap(other.block_);
        std::swap(size_, other.size_);
        std::swap(growthStep_, other.growthStep_);
    }

protected:
    struct GrowthStep {
        std::uint32_t items;
    };
    explicit kxArray(GrowthStep step) noexcept : growthStep_(step.items != 0 ? step.items : 1) {}
    std::uint32_t growthStepItems() const noexcept { return growthStep_; }

private:
    // Grows by half at least, so that every item is moved a few times only, however many are added.
    void makeRoom(std::uint32_t added)
    {
        while (std::uint64_t{size_} + added > capacity())
            growTo(std::uint64_t{size_} + added, std::uint64_t{capacity()} * 3 / 2);
    }
    void growTo(std::uint64_t needed, std::uint64_t wanted)
    {
        constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
        if (needed > most) kxThrowBadAlloc(__FILE__, __LINE__);
        const std::uint64_t steps = (std::max(needed, wanted) + growthStep_ - 1) / growthStep_;
        block_.reallocate(static_cast<std::uint32_t>(std::min(steps * growthStep_, most)), 0, size_);
    }
    void cutTo(std::uint32_t size)
    {
        if (size >= size_) return;
        if constexpr (std::is_trivially_destructible_v<T>)
            size_ = size;
        else
            destroyBehind(size);
    }
    // The items that go find the array empty, whatever they do with it.
    void destroyBehind(std::uint32_t size)
    {
        kxArray held(GrowthStep{growthStep_});
        held.swap(*this);
        std::uint32_t last = std::exchange(held.size_, size);
        try {
            kxReleaseAll([items = held.data(), size, &last] {
                if (last > size) std::destroy_at(items + --last);
                return last > size;
            });
        } catch (...) {
            takeBack(held);
            throw;
        }
        takeBack(held);
    }
    // Puts the items back that stay, in front of those that were added meanwhile.
    void takeBack(kxArray& held)
    {
        swap(held);
        for (T& added : held) append(std::move(added));
    }

    kxItemBlock<T> block_;
    std::uint32_t size_ = 0;
    std::uint32_t growthStep_ = 1;
};
