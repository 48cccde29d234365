#include "kxbase/object/kxType.h"

#include "kxbase/core/kxTrackedMemory.h"

#include <cstring>

kxType::kxType(const kxType* parent, const char* name) : parent_(parent), name_(nullptr), ownsName_(1)
{
    const std::size_t length = name != nullptr ? ::strnlen(name, KX_TYPE_NAME_LENGTH) : 0;
    char* const copy = static_cast<char*>(kxTrackedAllocate(length + 1));
    if (length != 0) std::memcpy(copy, name, length);
    copy[length] = '\0';
    name_ = copy;
}

kxType& kxType::operator=(const kxType& other) noexcept
{
    parent_ = other.parent_;
    // A copy of this descriptor may come back: its name is the one held here and must stay.
    if (name_ == other.name_) return *this;
    if (ownsName_ != 0) freeName();
    name_ = other.name_;
    ownsName_ = 0;
    return *this;
}

bool kxType::isKindOf(const kxType& other) const noexcept
{
    for (const kxType* type = this; type != nullptr; type = type->parent_)
        if (type == &other || std::strcmp(type->name_, other.name_) == 0) return true;
    return false;
}

void kxType::freeName() noexcept
{
    kxTrackedFree(const_cast<char*>(name_));
}
