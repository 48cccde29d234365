// Named dynamic values, in the order in which their names came.
//
// As bytes: the number of values as a kxVarUInt64, then for each its name with a zero byte behind it, and the value
// as kxSerializeDynamicType has it.
//
// Ownership: owns names and values.
// Threads:   a plain value; several threads may read one.
// Errors:    a value of another type than "cont" is fatal. Broken bytes give the empty container and the Warning
//            "Corrupt Stream in kxDynamicTypeContainer!!"; so do names that are too long for a kxString. Of values
//            with the same name the last one counts.
//
// A name ends at its first zero byte, and may be empty. Names are looked up in an ordered index and not by their
// hash, so that names from outside cannot be chosen to make it slow.
#pragma once

#include "kxbase/dynamic/kxDynamicType.h"

#include <list>
#include <map>

class kxDynamicTypeContainer {
public:
    kxDynamicTypeContainer() = default;
    explicit kxDynamicTypeContainer(const kxDynamicType& value);
    kxDynamicTypeContainer(const kxDynamicTypeContainer& other);
    kxDynamicTypeContainer& operator=(const kxDynamicTypeContainer& other);
    ~kxDynamicTypeContainer() noexcept(false) { clear(); }
    operator kxDynamicType() const;

    std::uint32_t count() const noexcept { return static_cast<std::uint32_t>(values_.size()); }
    bool isEmpty() const noexcept { return values_.empty(); }
    bool has(const kxString& name) const { return find(name) != nullptr; }
    // Null when there is none; the value stays the container's.
    const kxDynamicType* find(const kxString& name) const;
    // "void" when there is none.
    kxDynamicType get(const kxString& name) const;
    // A name that is there already keeps its place.
    void set(const kxString& name, kxDynamicType value);
    // Answers whether there was one.
    bool remove(const kxString& name);
    void clear();

    // The same names with the same values, in the same order.
    friend bool operator==(const kxDynamicTypeContainer& left, const kxDynamicTypeContainer& right) noexcept;

private:
    friend class kxDynamicTypeContainerIterator;

    struct Entry {
        bool operator==(const Entry&) const noexcept = default;

        kxString name;
        kxDynamicType value;
    };
    using Values = std::list<Entry>;
    using Index = std::map<std::string_view, Values::iterator>;

    static std::string_view keyOf(const kxString& name) noexcept { return name.text(); }

    Values values_;
    Index index_;  // by the names in values_
};
