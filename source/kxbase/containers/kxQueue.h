// Queue in one contiguous block, taken from either end.
//
// Items are stored at ascending positions: `tail` is one past the last, `head` the first. A queue that has run
// empty starts again at position 0 with its next push; otherwise taken places at the front are not used again.
//
// Ownership: owns its items and the block, which grows by whole growth steps and never shrinks: by as many as a
//            push needs for plain items, by half at least for items that have to be moved one after the other.
// Threads:   takes no lock; one thread at a time.
// Items may push into the queue from their destructors. A walk goes from the first position to the last, the oldest
// item first: in the order in which a first-in-first-out queue pops, in the reverse of the other's.
//
// Errors:    taking from or looking into an empty queue is fatal. Positions are 32 bits: a push that would
//            pass them reports "Bad Alloc:" and throws std::bad_alloc, and nothing is pushed. When items throw
//            as they are cleared, all go and the first exception goes on.
// Units:     every count is in items; a growth step of 0 is taken as 1.
#pragma once

#include "kxbase/containers/kxItemBlock.h"
#include "kxbase/containers/kxQueueOrder.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/object/kxReleaseAll.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>

constexpr std::uint32_t KX_QUEUE_GROWTH_STEP = 16;

template <typename T, kxQueueTaken Taken = KX_QUEUE_KEEP_TAKEN> class kxQueue {
public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    explicit kxQueue(kxQueueOrder order = KX_QUEUE_LIFO, std::uint32_t growthStep = KX_QUEUE_GROWTH_STEP)
        : order_(order), growthStep_(growthStep != 0 ? growthStep : 1)
    {}
    ~kxQueue() noexcept(std::is_nothrow_destructible_v<T>)
    {
        kxReleaseAll([this] {
            clear();
            return !isEmpty();
        });
    }
    kxQueue(const kxQueue&) = delete;
    kxQueue& operator=(const kxQueue&) = delete;

    void push(T item)
    {
        if (tail_ >= usedCount_ || head_ == tail_) makeRoom(1);
        ::new (static_cast<void*>(block_.data() + tail_)) T(std::move(item));
        ++tail_;
    }
    // Takes the next item.
    T pop()
    {
        if (tail_ <= head_) raiseOutOfData();
        const std::uint32_t position = nextPosition();
        T item(std::move(block_.data()[position]));
        order_ == KX_QUEUE_FIFO ? ++head_ : --tail_;
        if constexpr (kTrivial)
            wipe(block_.data() + position, 1);
        else
            destroyHeld(position, position + 1);
        return item;
    }
    // What pop() would take.
    const T& top() const
    {
        if (tail_ <= head_) kxRaiseFatal("No top() item in kxQueue");
        return block_.data()[nextPosition()];
    }

    // Pushing ends the validity of iterators.
    iterator begin() noexcept { return block_.data() + head_; }
    iterator end() noexcept { return block_.data() + tail_; }
    const_iterator begin() const noexcept { return block_.data() + head_; }
    const_iterator end() const noexcept { return block_.data() + tail_; }

    // The block forms do what as many single operations would do, at once.

    // Pushes items[0] first. The items must not lie in this queue.
    void pushBlock(const T* items, std::uint32_t count)
    {
        if (count == 0) return;
        makeRoom(count);
        std::uninitialized_copy_n(items, count, block_.data() + tail_);
        tail_ += count;
    }
    // Pushes items[count - 1] first, so that a last-in-first-out queue gives items[0] next.
    void pushBlockReversed(const T* items, std::uint32_t count)
    {
        if (count == 0) return;
        makeRoom(count);
        std::uninitialized_copy_n(std::make_reverse_iterator(items + count), count, block_.data() + tail_);
        tail_ += count;
    }
    // Takes `count` items. When there are fewer, takes these and then fails as pop() does.
    void popBlock(T* items, std::uint32_t count)
    {
        if constexpr (!kTrivial) return popOneByOne(items, count);
        const std::uint32_t taken = std::min(count, length());
        const std::uint32_t first = order_ == KX_QUEUE_FIFO ? head_ : tail_ - taken;
        T* const places = block_.data() + first;
        if (order_ == KX_QUEUE_FIFO)
            std::move(places, places + taken, items);
        else
            std::move(std::make_reverse_iterator(places + taken), std::make_reverse_iterator(places), items);
        (order_ == KX_QUEUE_FIFO ? head_ : tail_) = order_ == KX_QUEUE_FIFO ? head_ + taken : first;
        if (taken != 0) wipe(places, taken);
        if (taken < count) raiseOutOfData();
    }

    bool isEmpty() const noexcept { return head_ == tail_; }
    std::uint32_t length() const noexcept { return tail_ - head_; }
    // Forgets all items and keeps the block.
    void clear()
    {
        const std::uint32_t first = std::exchange(head_, 0U);
        const std::uint32_t last = std::exchange(tail_, 0U);
        usedCount_ = 0;
        if constexpr (!kTrivial) destroyHeld(first, last);
    }

    // Items that the block has room for.
    std::uint32_t capacity() const noexcept { return block_.capacity(); }
    // One past the highest position written since the last clear().
    std::uint32_t usedCount() const noexcept { return usedCount_; }
    kxQueueOrder order() const noexcept { return order_; }
    std::uint32_t growthStep() const noexcept { return growthStep_; }

private:
    static constexpr bool kTrivial = std::is_trivially_copyable_v<T>;
    static_assert(kTrivial || Taken == KX_QUEUE_KEEP_TAKEN, "only plain items can be wiped");

    [[noreturn]] static void raiseOutOfData() { kxRaiseFatal("kxQueue:pop out of data"); }

    std::uint32_t nextPosition() const noexcept { return order_ == KX_QUEUE_FIFO ? head_ : tail_ - 1; }

    void makeRoom(std::uint32_t count)
    {
        if (head_ == tail_) head_ = tail_ = 0;
        while (std::uint64_t{tail_} + count > block_.capacity()) grow(std::uint64_t{tail_} + count - 1);
        usedCount_ = std::max(usedCount_, tail_ + count);
    }
    // Grows to the next multiple of the step above position `last`, or above half as much again.
    void grow(std::uint64_t last)
    {
        constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
        if (last >= most) kxThrowBadAlloc(__FILE__, __LINE__);
        if constexpr (!kTrivial) last = std::max(last, std::uint64_t{block_.capacity()} * 3 / 2);
        const std::uint64_t capacity = std::min(last + (growthStep_ - last % growthStep_), most);
        block_.reallocate(static_cast<std::uint32_t>(capacity), head_, tail_);
    }

    static void wipe(T* places, std::uint32_t count)
    {
        if constexpr (Taken == KX_QUEUE_WIPE_TAKEN)
            std::memset(static_cast<void*>(places), 0, count * sizeof(T));
    }
    // Destroys the items at positions that are not the queue's any more. A push from their destructors finds no
    // used place and no capacity and so takes another block.
    void destroyHeld(std::uint32_t first, std::uint32_t last)
    {
        if (first == last) return;
        const std::uint32_t used = std::exchange(usedCount_, 0U);
        {
            const typename kxItemBlock<T>::Hold hold(block_);
            kxReleaseAll([items = block_.data(), &first, last] {
                if (first < last) std::destroy_at(items + first++);
                return first < last;
            });
        }
        usedCount_ = std::max(usedCount_, std::min(used, block_.capacity()));
    }
    // Assigning over the items of the caller may run destructors that push.
    void popOneByOne(T* items, std::uint32_t count)
    {
        for (std::uint32_t index = 0; index < count; ++index) items[index] = pop();
    }

    kxItemBlock<T> block_;
    std::uint32_t usedCount_ = 0;
    std::uint32_t head_ = 0;  // position of the first item
    std::uint32_t tail_ = 0;  // one past the last item
    kxQueueOrder order_;
    std::uint32_t growthStep_;
};
