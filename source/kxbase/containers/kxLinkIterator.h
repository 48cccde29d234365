// Iterator over items that hang together by links.
//
// The links are known to a cursor: a small value that is equal to another one at the same item, with item(),
// forward() and, where the items are linked both ways, back(). Reference is what the iterator yields.
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <type_traits>

template <typename Reference, typename Cursor> class kxLinkIterator {
    static constexpr bool kGoesBack = requires(Cursor cursor) { cursor.back(); };

public:
    using iterator_category =
        std::conditional_t<kGoesBack, std::bidirectional_iterator_tag, std::forward_iterator_tag>;
    using value_type = std::remove_cvref_t<Reference>;
    using difference_type = std::ptrdiff_t;
    using pointer = std::add_pointer_t<Reference>;
    using reference = Reference;

    kxLinkIterator() noexcept = default;
    explicit kxLinkIterator(const Cursor& cursor) noexcept : cursor_(cursor) {}
    operator kxLinkIterator<const value_type&, Cursor>() const noexcept
    {
        return kxLinkIterator<const value_type&, Cursor>(cursor_);
    }

    Reference operator*() const noexcept { return cursor_.item(); }
    pointer operator->() const noexcept requires std::is_reference_v<Reference>
    {
        return std::addressof(cursor_.item());
    }
    kxLinkIterator& operator++() noexcept
    {
        cursor_.forward();
        return *this;
    }
    kxLinkIterator operator++(int) noexcept
    {
        const kxLinkIterator before = *this;
        cursor_.forward();
        return before;
    }
    kxLinkIterator& operator--() noexcept requires kGoesBack
    {
        cursor_.back();
        return *this;
    }
    kxLinkIterator operator--(int) noexcept requires kGoesBack
    {
        const kxLinkIterator before = *this;
        cursor_.back();
        return before;
    }
    friend bool operator==(const kxLinkIterator& left, const kxLinkIterator& right) noexcept
    {
        return left.cursor_ == right.cursor_;
    }

    const Cursor& cursor() const noexcept { return cursor_; }

private:
    Cursor cursor_{};
};
