// Run-time descriptor of a class: its name and its parent's descriptor.
//
// Ownership: a descriptor built from (parent, name) owns a copy of the name; one over a literal and every copy
//            own nothing, so a copy must not outlive the descriptor it was made from. Parents are only
//            referred to.
// Threads:   read-only once built.
// Errors:    a failed allocation reports "Bad Alloc:" and throws std::bad_alloc.
// Units:     names are cut at 255 bytes.
#pragma once

#include <cstdint>

class kxType {
public:
    static constexpr std::uint32_t KX_TYPE_NAME_LENGTH = 255;

    // Copies the name; a null name is the empty one.
    kxType(const kxType* parent, const char* name);
    // Descriptor over a name that lives as long as the program; a constant expression, so that a static
    // descriptor needs no code at start or exit.
    static constexpr kxType ofLiteral(const kxType* parent, const char* name) noexcept
    {
        return kxType(parent, name, Borrowed{});
    }
    constexpr kxType(const kxType& other) noexcept : kxType(other.parent_, other.name_, Borrowed{}) {}
    // Takes parent and name as a copy does, and frees a name of its own that is no longer needed.
    kxType& operator=(const kxType& other) noexcept;
    constexpr ~kxType()
    {
        if (ownsName_ != 0) freeName();
    }

    constexpr const char* name() const noexcept { return name_; }
    // Null for a root.
    constexpr const kxType* parent() const noexcept { return parent_; }

    // Whether this type is `other` or descends from it. Two descriptors of one name are the same type, since
    // a separately built module has its own copies.
    bool isKindOf(const kxType& other) const noexcept;

private:
    struct Borrowed {};
    constexpr kxType(const kxType* parent, const char* name, Borrowed) noexcept : parent_(parent), name_(name)
    {}
    void freeName() noexcept;

    const kxType* parent_;
    const char* name_;
    std::uint8_t ownsName_ = 0;
};
