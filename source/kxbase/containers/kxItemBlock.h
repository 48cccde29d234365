// Room for a number of items, of which the container that owns the block knows which exist.
//
// Ownership: owns the room, never the items; the container destroys them.
// Threads:   a plain value.
// Errors:    a failed allocation throws std::bad_alloc and leaves room and items as they were. A move of an
//            item that throws leaves the room as it was and all items in it, those moved before as a move
//            leaves them.
// Items whose destructors add items to the container are destroyed under a Hold; a reallocation destroys the old
// ones when the block has its new room already, which may be full again when it returns.
// Units:     capacities and positions are in items.
#pragma once

#include "kxbase/core/kxTrackedMemory.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

template <typename T> class kxItemBlock {
public:
    static_assert(alignof(T) <= alignof(std::max_align_t),
                  "over-aligned items need an allocator of their own");

    kxItemBlock() noexcept = default;
    kxItemBlock(kxItemBlock&& other) noexcept
        : items_(std::exchange(other.items_, nullptr)), capacity_(std::exchange(other.capacity_, 0U))
    {}
    ~kxItemBlock() { kxTrackedFree(items_); }
    kxItemBlock(const kxItemBlock&) = delete;
    kxItemBlock& operator=(const kxItemBlock&) = delete;

    T* data() noexcept { return items_; }
    const T* data() const noexcept { return items_; }
    std::uint32_t capacity() const noexcept { return capacity_; }

    // Changes the room; the items from `first` up to `last` exist and keep their positions.
    void reallocate(std::uint32_t capacity, std::uint32_t first, std::uint32_t last)
    {
        const std::size_t sizeBytes = std::size_t{capacity} * sizeof(T);
        if constexpr (std::is_trivially_copyable_v<T>) {
            items_ = static_cast<T*>(kxTrackedReallocate(items_, sizeBytes));
        } else {
            kxItemBlock fresh;
            fresh.items_ = static_cast<T*>(kxTrackedAllocate(sizeBytes));
            if (last > first) std::uninitialized_move(items_ + first, items_ + last, fresh.items_ + first);
            const bool isHeld = capacity_ == 0;
            std::swap(items_, fresh.items_);
            capacity_ = capacity;
            T* const old = isHeld ? std::exchange(fresh.items_, nullptr) : fresh.items_;
            if (last > first) std::destroy(old + first, old + last);
            return;
        }
        capacity_ = capacity;
    }

    // Keeps the room where it is while items in it are destroyed whose destructors may add others: the block has
    // no capacity meanwhile, and a reallocation leaves the old room to this object.
    class Hold {
    public:
        explicit Hold(kxItemBlock& block) noexcept
            : block_(block), room_(block.capacity_ != 0 ? block.items_ : nullptr),
              capacity_(std::exchange(block.capacity_, 0U))
        {}
        ~Hold()
        {
            if (room_ == nullptr) return;  // held further out already
            if (block_.items_ == room_)
                block_.capacity_ = capacity_;
            else
                kxTrackedFree(room_);
        }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        kxItemBlock& block_;
        T* const room_;
        const std::uint32_t capacity_;
    };

    void swap(kxItemBlock& other) noexcept
    {
        std::swap(items_, other.items_);
        std::swap(capacity_, other.capacity_);
    }

private:
    T* items_ = nullptr;
    std::uint32_t capacity_ = 0;
};
