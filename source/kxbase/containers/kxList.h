// Singly linked list.
//
// Ownership: owns its items. Removed nodes go to a pool of the list's own while reuse is on, else they are
//            freed.
// Threads:   takes no lock; one thread at a time.
// Errors:    taking an item that the list does not have is fatal. A failed allocation throws std::bad_alloc and
//            leaves the list as it was, as does an item that cannot be moved in. When items throw as they are
//            cleared, all go and the first exception goes on.
//
// Iterators stay valid until their item is removed. An item is out of the list before its destructor runs, so
// that the destructor may use the list.
#pragma once

#include "kxbase/containers/kxLinkIterator.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxTrackedMemory.h"
#include "kxbase/object/kxReleaseAll.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

template <typename T> class kxList {
    // A node without its item: what lies before the first node, and a spare node.
    struct Link {
        Link* next = nullptr;
    };
    struct Node : Link {
        Node(Link* nextLink, T&& newItem) : Link{nextLink}, item(std::move(newItem)) {}

        T item;
    };

    struct Cursor {
        T& item() const noexcept { return itemBehind(link); }
        void forward() noexcept { link = link->next; }
        bool operator==(const Cursor&) const noexcept = default;

        Link* link = nullptr;
    };

public:
    using value_type = T;
    using iterator = kxLinkIterator<T&, Cursor>;
    using const_iterator = kxLinkIterator<const T&, Cursor>;

    kxList() noexcept = default;
    ~kxList() noexcept(std::is_nothrow_destructible_v<T>)
    {
        setReuse(false);
        clear();
    }
    kxList(const kxList&) = delete;
    kxList& operator=(const kxList&) = delete;

    // Each puts an item in and returns it where it lies.
    T& append(T item) { return insert(tail_, std::move(item)); }
    T& prepend(T item) { return insert(&head_, std::move(item)); }
    T& insertAfter(iterator position, T item) { return insert(linkAt(position), std::move(item)); }
    // Puts all items of another list behind those of this one, in no time that depends on their number. The other
    // list gets the spare nodes of this one for the nodes that it gives away, and this one gets those of the other.
    void splice(kxList& other) noexcept
    {
        if (other.isEmpty()) return;
        tail_->next = std::exchange(other.head_.next, nullptr);
        tail_ = std::exchange(other.tail_, &other.head_);
        count_ += std::exchange(other.count_, 0);
        if (!reuse_ || !other.reuse_) return;
        std::swap(spare_, other.spare_);
        std::swap(spareCount_, other.spareCount_);
    }

    // Takes the first item out.
    T takeFirst() { return takeAfter(beforeBegin()); }
    // Takes out the item behind `position`.
    T takeAfter(iterator position)
    {
        const Loose loose(*this, unlink(linkAt(position)));
        return std::move(loose.room.node->item);
    }
    // Removes the first item that equals `item`; answers whether there was one.
    bool remove(const T& item)
    {
        return removeFirstWhere([&item](const T& other) { return other == item; });
    }
    template <typename Predicate> bool removeFirstWhere(Predicate predicate)
    {
        for (Link* before = &head_; before->next != nullptr; before = before->next) {
            if (!predicate(std::as_const(itemBehind(before->next)))) continue;
            dropAfter(before);
            return true;
        }
        return false;
    }
    void clear()
    {
        kxReleaseAll([this] {
            if (!isEmpty()) dropAfter(&head_);
            return !isEmpty();
        });
    }

    bool isEmpty() const noexcept { return head_.next == nullptr; }
    std::uint32_t count() const noexcept { return count_; }
    // Null when the list has no such item.
    T* first() noexcept { return isEmpty() ? nullptr : &itemBehind(head_.next); }
    const T* first() const noexcept { return isEmpty() ? nullptr : &itemBehind(head_.next); }
    T* last() noexcept { return isEmpty() ? nullptr : &itemBehind(tail_); }
    const T* last() const noexcept { return isEmpty() ? nullptr : &itemBehind(tail_); }
    // By counting from the front; null at or beyond the end.
    T* at(std::size_t index) noexcept { return index < count_ ? &itemBehind(linkTo(index)) : nullptr; }
    const T* at(std::size_t index) const noexcept
    {
        return index < count_ ? &itemBehind(linkTo(index)) : nullptr;
    }

    // Only to go forward from, and to take or insert behind.
    iterator beforeBegin() noexcept { return iterator({&head_}); }
    iterator begin() noexcept { return iterator({head_.next}); }
    iterator end() noexcept { return iterator(); }
    const_iterator begin() const noexcept { return const_iterator({head_.next}); }
    const_iterator end() const noexcept { return const_iterator(); }

    // Keeps the nodes of removed items for the next ones; switching it off frees those that are kept.
    void setReuse(bool reuse) noexcept
    {
        reuse_ = reuse;
        while (!reuse && spare_ != nullptr) kxTrackedFree(std::exchange(spare_, spare_->next));
        if (!reuse) spareCount_ = 0;
    }
    std::uint32_t spareCount() const noexcept { return spareCount_; }

private:
    static_assert(alignof(T) <= alignof(std::max_align_t),
                  "over-aligned items need an allocator of their own");

    static T& itemBehind(Link* link) noexcept { return static_cast<Node*>(link)->item; }
    // The index lies within the list.
    Link* linkTo(std::size_t index) const noexcept
    {
        Link* link = head_.next;
        while (index-- != 0) link = link->next;
        return link;
    }

    T& insert(Link* before, T&& item)
    {
        void* const room = spare_ != nullptr ? takeSpare() : kxTrackedAllocate(sizeof(Node));
        try {
            Node* const node = ::new (room) Node(before->next, std::move(item));
            before->next = node;
            if (tail_ == before) tail_ = node;
            ++count_;
            return node->item;
        } catch (...) {
            freeNode(room);
            throw;
        }
    }
    void* takeSpare() noexcept
    {
        --spareCount_;
        return std::exchange(spare_, spare_->next);
    }
    // A node out of the list, which goes with this object.
    struct Loose {
        Loose(kxList& list, Node* node) noexcept : room{list, node} {}
        ~Loose() noexcept(std::is_nothrow_destructible_v<T>) { std::destroy_at(room.node); }
        Loose(const Loose&) = delete;
        Loose& operator=(const Loose&) = delete;

        // Given back even when the item's destructor throws.
        struct Room {
            kxList& list;
            Node* node;
            ~Room() { list.freeNode(node); }
        } const room;
    };

    static Link* linkAt(iterator position)
    {
        Link* const link = position.cursor().link;
        if (link == nullptr) raiseNoItem();
        return link;
    }
    [[noreturn]] static void raiseNoItem() { kxRaiseFatal("No item to take in kxList"); }
    void dropAfter(Link* before) { const Loose loose(*this, unlink(before)); }
    Node* unlink(Link* before)
    {
        Node* const node = static_cast<Node*>(before->next);
        if (node == nullptr) raiseNoItem();
        before->next = node->next;
        if (tail_ == node) tail_ = before;
        --count_;
        return node;
    }
    void freeNode(void* room) noexcept
    {
        if (!reuse_) return kxTrackedFree(room);
        spare_ = ::new (room) Link{spare_};
        ++spareCount_;
    }

    Link head_;            // before the first node
    Link* tail_ = &head_;  // the last node, or head_
    std::uint32_t count_ = 0;
    std::uint32_t spareCount_ = 0;
    Link* spare_ = nullptr;
    bool reuse_ = false;
};
