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
    struct Node {
        T item;
        Node* next;
    };
    // A spare node holds no item, only the link.
    struct Spare {
        Spare* next;
    };

    struct Cursor {
        T& item() const noexcept { return node->item; }
        void forward() noexcept { node = node->next; }
        bool operator==(const Cursor&) const noexcept = default;

        Node* node = nullptr;
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
    T& append(T item)
    {
        Node* const node = newNode(std::move(item), nullptr);
        (tail_ != nullptr ? tail_->next : head_) = node;
        tail_ = node;
        return node->item;
    }
    T& prepend(T item)
    {
        head_ = newNode(std::move(item), head_);
        if (tail_ == nullptr) tail_ = head_;
        return head_->item;
    }
    T& insertAfter(iterator position, T item)
    {
        Node* const before = position.cursor().node;
        before->next = newNode(std::move(item), before->next);
        if (tail_ == before) tail_ = before->next;
        return before->next->item;
    }

    // Takes the first item out.
    T takeFirst() { return takeNode(nullptr); }
    // Takes out the item behind `position`.
    T takeAfter(iterator position) { return takeNode(position.cursor().node); }
    // Removes the first item that equals `item`; answers whether there was one.
    bool remove(const T& item)
    {
        return removeFirstWhere([&item](const T& other) { return other == item; });
    }
    template <typename Predicate> bool removeFirstWhere(Predicate predicate)
    {
        Node* before = nullptr;
        for (Node* node = head_; node != nullptr; before = std::exchange(node, node->next)) {
            if (!predicate(std::as_const(node->item))) continue;
            dropNode(before);
            return true;
        }
        return false;
    }
    void clear()
    {
        kxReleaseAll([this] {
            if (head_ != nullptr) dropNode(nullptr);
            return head_ != nullptr;
        });
    }

    bool isEmpty() const noexcept { return head_ == nullptr; }
    std::uint32_t count() const noexcept { return count_; }
    // Null when the list has no such item.
    T* first() noexcept { return itemOf(head_); }
    const T* first() const noexcept { return itemOf(head_); }
    T* last() noexcept { return itemOf(tail_); }
    const T* last() const noexcept { return itemOf(tail_); }
    // By counting from the front; null at or beyond the end.
    T* at(std::size_t index) noexcept { return itemOf(nodeAt(index)); }
    const T* at(std::size_t index) const noexcept { return itemOf(nodeAt(index)); }

    iterator begin() noexcept { return iterator({head_}); }
    iterator end() noexcept { return iterator(); }
    const_iterator begin() const noexcept { return const_iterator({head_}); }
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

    static T* itemOf(Node* node) noexcept { return node != nullptr ? &node->item : nullptr; }
    Node* nodeAt(std::size_t index) const noexcept
    {
        if (index >= count_) return nullptr;
        Node* node = head_;
        while (index-- != 0) node = node->next;
        return node;
    }

    Node* newNode(T&& item, Node* next)
    {
        void* const room = spare_ != nullptr ? takeSpare() : kxTrackedAllocate(sizeof(Node));
        try {
            Node* const node = ::new (room) Node{std::move(item), next};
            ++count_;
            return node;
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

    T takeNode(Node* before)
    {
        const Loose loose(*this, unlink(before));
        return std::move(loose.room.node->item);
    }
    void dropNode(Node* before) { const Loose loose(*this, unlink(before)); }
    // Takes out the node after `before`, or the first.
    Node* unlink(Node* before)
    {
        Node* const node = before != nullptr ? before->next : head_;
        if (node == nullptr) kxRaiseFatal("No item to take in kxList");
        (before != nullptr ? before->next : head_) = node->next;
        if (tail_ == node) tail_ = before;
        --count_;
        return node;
    }
    void freeNode(void* room) noexcept
    {
        if (!reuse_) return kxTrackedFree(room);
        spare_ = ::new (room) Spare{spare_};
        ++spareCount_;
    }

    Node* head_ = nullptr;
    Node* tail_ = nullptr;
    std::uint32_t count_ = 0;
    std::uint32_t spareCount_ = 0;
    Spare* spare_ = nullptr;
    bool reuse_ = false;
};
