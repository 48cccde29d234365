// Doubly linked list: items go in and out at any place at the same cost.
//
// Ownership: owns its items.
// Threads:   takes no lock; one thread at a time.
// Errors:    taking from an empty list is a mistake of the caller that is not looked for.
//
// Iterators stay valid until their item is removed; end() always. An item is out of the list before its
// destructor runs.
#pragma once

#include "kxbase/core/kxTrackedMemory.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

template <typename T> class kxDList {
    struct Link {
        Link* previous;
        Link* next;
    };
    struct Node : Link {
        explicit Node(T&& content) : Link{}, item(std::move(content)) {}
        T item;
    };

    template <typename Item> class Iterator {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = Item*;
        using reference = Item&;

        Iterator() noexcept = default;
        explicit Iterator(Link* link) noexcept : link_(link) {}
        operator Iterator<const T>() const noexcept { return Iterator<const T>(link_); }
        Item& operator*() const noexcept { return static_cast<Node*>(link_)->item; }
        Item* operator->() const noexcept { return &**this; }
        Iterator& operator++() noexcept
        {
            link_ = link_->next;
            return *this;
        }
        Iterator& operator--() noexcept
        {
            link_ = link_->previous;
            return *this;
        }
        Iterator operator++(int) noexcept { return Iterator(std::exchange(link_, link_->next)); }
        Iterator operator--(int) noexcept { return Iterator(std::exchange(link_, link_->previous)); }
        friend bool operator==(Iterator left, Iterator right) noexcept { return left.link_ == right.link_; }

    private:
        friend class kxDList;
        Link* link_ = nullptr;
    };

public:
    using value_type = T;
    using iterator = Iterator<T>;
    using const_iterator = Iterator<const T>;

    kxDList() noexcept = default;
    ~kxDList() noexcept(std::is_nothrow_destructible_v<T>) { clear(); }
    kxDList(const kxDList&) = delete;
    kxDList& operator=(const kxDList&) = delete;

    // Each puts an item in and returns where it lies.
    iterator append(T item) { return insertBefore(end(), std::move(item)); }
    iterator prepend(T item) { return insertBefore(begin(), std::move(item)); }
    iterator insertBefore(iterator position, T item)
    {
        Node* const node = newNode(std::move(item));
        node->next = position.link_;
        node->previous = position.link_->previous;
        node->previous->next = node;
        node->next->previous = node;
        ++count_;
        return iterator(node);
    }
    iterator insertAfter(iterator position, T item) { return insertBefore(++position, std::move(item)); }

    // Takes the item out of the list.
    T take(iterator position)
    {
        const Loose loose(unlink(position.link_));
        return std::move(loose.room.node->item);
    }
    T takeFirst() { return take(begin()); }
    T takeLast() { return take(--end()); }
    // Removes the item and returns the place behind it.
    iterator remove(iterator position)
    {
        const iterator behind = std::next(position);
        const Loose loose(unlink(position.link_));
        return behind;
    }
    void clear()
    {
        while (count_ != 0) remove(begin());
    }

    bool isEmpty() const noexcept { return count_ == 0; }
    std::uint32_t count() const noexcept { return count_; }
    // Null when the list is empty.
    T* first() noexcept { return count_ != 0 ? &*begin() : nullptr; }
    const T* first() const noexcept { return count_ != 0 ? &*begin() : nullptr; }
    T* last() noexcept { return count_ != 0 ? &*--end() : nullptr; }
    const T* last() const noexcept { return count_ != 0 ? &*--end() : nullptr; }

    iterator begin() noexcept { return iterator(ends_.next); }
    iterator end() noexcept { return iterator(&ends_); }
    const_iterator begin() const noexcept { return const_iterator(ends_.next); }
    const_iterator end() const noexcept { return const_iterator(const_cast<Link*>(&ends_)); }

private:
    static_assert(alignof(T) <= alignof(std::max_align_t),
                  "over-aligned items need an allocator of their own");

    // A node out of the list, which goes with this object.
    struct Loose {
        explicit Loose(Node* node) noexcept : room{node} {}
        ~Loose() noexcept(std::is_nothrow_destructible_v<T>) { std::destroy_at(room.node); }
        Loose(const Loose&) = delete;
        Loose& operator=(const Loose&) = delete;

        // Given back even when the item's destructor throws.
        struct Room {
            Node* node;
            ~Room() { kxTrackedFree(node); }
        } const room;
    };

    static Node* newNode(T&& item)
    {
        void* const room = kxTrackedAllocate(sizeof(Node));
        try {
            return ::new (room) Node(std::move(item));
        } catch (...) {
            kxTrackedFree(room);
            throw;
        }
    }
    Node* unlink(Link* link) noexcept
    {
        link->previous->next = link->next;
        link->next->previous = link->previous;
        --count_;
        return static_cast<Node*>(link);
    }

    Link ends_{&ends_, &ends_};  // before the first and behind the last
    std::uint32_t count_ = 0;
};
