// Goes through a container in the order in which its names came.
//
//   for (kxDynamicTypeContainerIterator at(container); !at.isAtEnd(); ++at) use(at.getName(), at.getValue());
//
// Ownership: refers to the container. Setting values and adding names leaves it valid; it must not stand at a name
//            that is removed.
// Threads:   as the container.
// Errors:    looking at or beyond the end is not checked.
#pragma once

#include "kxbase/dynamic/kxDynamicTypeContainer.h"

class kxDynamicTypeContainerIterator {
public:
    explicit kxDynamicTypeContainerIterator(const kxDynamicTypeContainer& container) noexcept
        : at_(container.values_.begin()), end_(container.values_.end())
    {}

    bool isAtEnd() const noexcept { return at_ == end_; }
    const kxString& getName() const noexcept { return at_->name; }
    const kxDynamicType& getValue() const noexcept { return at_->value; }
    kxDynamicTypeContainerIterator& operator++() noexcept
    {
        ++at_;
        return *this;
    }

private:
    kxDynamicTypeContainer::Values::const_iterator at_;
    kxDynamicTypeContainer::Values::const_iterator end_;
};
