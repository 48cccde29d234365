// Doubly linked list: items go in and out at any place at the same cost.
//
// Ownership: owns its items.
// Threads:   takes no lock; one thread at a time.
// Errors:    taking or removing an item that the list does not have is fatal. A failed allocation throws
//            std::bad_alloc and leaves the list as it was, as does an item that cannot be moved in. When items
//            throw as they are cleared, all go and the first exception goes on.
//
// Iterators stay valid until their item is removed; end() always. An item is out of the list before its
// destructor runs.
#pragma once

#include "kxbase/containers/kxLinkIterator.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxTrackedMemory.h"
#include "kxbase/object/kxReleaseAll.h"

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

    struct Cursor {
        T& item() const noexcept { return static_cast<Node*>(link)->item; }
        void forward() noexcept { link = link->next; }
        void back() noexcept { link = link->previous; }
        bool operator==(const Cursor&) const noexcept = default;

        Link* link = nullptr;
    };

public:
    using value_type = T;
    using iterator = kxLinkIterator<T&, Cursor>;
    using const_iterator = kxLinkIterator<const T&, Cursor>;

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
        node->next = position.cursor().link;
        node->previous = node->next->previous;
        node->previous->next = node;
        node->next->previous = node;
        ++count_;
        return iterator({node});
    }
    iterator insertAfter(iterator position, T item) { return insertBefore(++position, std::move(item)); }

    // Takes the item out of the list.
    T take(iterator position)
    {
        const Loose loose(unlink(position.cursor().link));
        return std::move(loose.room.node->item);
    }
    T takeFirst() { return take(begin()); }
    T takeLast() { return take(--end()); }
    // Removes the item and returns the place behind it.
    iterator remove(iterator position)
    {
        const iterator behind = std::next(position);
        const Loose loose(unlink(position.cursor().link));
        return behind;
    }
    void clear()
    {
        kxReleaseAll([this] {
            if (count_ != 0) remove(begin());
            return count_ != 0;
        });
    }

    bool isEmpty() const noexcept { return count_ == 0; }
    std::uint32_t count() const noexcept { return count_; }
    // Null when the list is empty.
    T* first() noexcept { return count_ != 0 ? &*begin() : nullptr; }
    const T* first() const noexcept { return count_ != 0 ? &*begin() : nullptr; }
    T* last() noexcept { return count_ != 0 ? &*--end() : nullptr; }
    const T* last() const noexcept { return count_ != 0 ? &*--end() : nullptr; }

    iterator begin() noexcept { return iterator({ends_.next}); }
    iterator end() noexcept { return iterator({&ends_}); }
    const_iterator begin() const noexcept { return const_iterator({ends_.next}); }
    const_iterator end() const noexcept { return const_iterator({const_cast<Link*>(&ends_)}); }

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
    Node* unlink(Link* link)
    {
        if (link == &ends_) kxRaiseFatal("No item to take in kxDList");
        link->previous->next = link->next;
        link->next->previous = link->previous;
        --count_;
        return static_cast<Node*>(link);
    }

    Link ends_{&ends_, &ends_};  // before the first and behind the last
    std::uint32_t count_ = 0;
};
