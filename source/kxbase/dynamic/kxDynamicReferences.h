// The objects that the bytes of one dynamic value name by their addresses.
//
// Ownership: holds a reference to each of them.
// Threads:   never changes once it is made; shared by the copies of the value.
#pragma once

#include "kxbase/containers/kxArray.h"
#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxThreadSafeReference.h"

class kxDynamicReferences final : public kxThreadSafeReference {
public:
    using Objects = kxArray<kxRefPointer<kxReference>>;

    explicit kxDynamicReferences(Objects objects);

    // The object at the address, if it is one of them; else null.
    kxReference* find(std::uint64_t address) const noexcept;
    const Objects& objects() const noexcept { return objects_; }

private:
    Objects objects_;  // each once, in ascending order
};
