// Base of everything that is reference counted: the count and the checks that catch counting mistakes.
//
// Ownership: a new object has count 0; the first kxRefPointer raises it to 1, and the object destroys itself
//            when its last reference goes. Objects that are never referenced may be deleted or live on the
//            stack.
// Threads:   the count is a plain number; one thread at a time. See kxThreadSafeReference.
// Errors:    every mismatch is fatal; deleting an object that is referenced leaves it as it was. Destructors
//            may throw for that reason, hence noexcept(false); while another exception passes the mismatch is
//            a Fatal message instead.
//
// Copies start with a count and a tag of 0; assignment leaves count and tag of both sides as they are.
// Constness is that of the object's value: a constant object can be referenced.
//
// A class with several bases names this one first: behind another one that has members g++ 12 warns of a free at
// an offset (-Wfree-nonheap-object), for nothing, since the memory given back is that of the whole object.
#pragma once

#include "kxbase/core/kxSharedMemory.h"
#include "kxbase/object/kxDestruction.h"
#include "kxbase/object/kxTypeInterface.h"

#include <cstdint>
#include <new>

class kxReference : public kxSharedMemory, public kxTypeInterface {
public:
    kxReference() noexcept = default;
    kxReference(const kxReference&) noexcept : kxSharedMemory(), kxTypeInterface() {}
    kxReference& operator=(const kxReference&) noexcept { return *this; }

    using kxSharedMemory::operator delete;
    // Every delete comes here before any destructor has begun: an object that is still referenced is refused,
    // lives on and keeps its references.
    static void operator delete(kxReference* object, std::destroying_delete_t) noexcept(false);
    static void operator delete(kxReference* object, std::destroying_delete_t,
                                std::align_val_t alignment) noexcept(false);

    const kxType& getType() const override;
    virtual ~kxReference() noexcept(false);

    // A new object with the same value and count 0, for the caller to reference. Fatal unless overridden.
    [[nodiscard]] virtual kxReference* clone() const;
    // Stores the value in the tag word, which is the user's own, and returns it.
    virtual std::uint32_t setTag(const std::uint32_t& tag);
    virtual bool isTagClear() const;

    virtual void ref() const
    {
        if (++referenceCount_ == 0) refuseReference();
    }
    // Releases one reference and destroys the object with the last one. What its destructor releases is gone
    // when that release returns, as members need that are declared in the order of their use. Only when the
    // destructors of a chain lie in one another beyond KX_DESTRUCTION_STACK_BYTES of stack is an object put
    // aside: it is gone when the outermost call returns. A destructor that may run that deep must not rely
    // on an object being gone once its last reference is dropped, nor on the order in which objects go.
    virtual void unref() const
    {
        // Below 2 the object goes, or it is a mistake.
        if (referenceCount_ > 1)
            --referenceCount_;
        else
            releaseLast();
    }
    // Releases one reference, keeps the object in any case and returns what is left.
    virtual std::uint32_t unrefWithoutDelete() const;
    // Destroys an object that has no references; answers whether this call did.
    virtual bool deleteIfUnreferenced() const;
    // True unless a class says otherwise; the library itself does not ask.
    virtual bool isShareable() const;
    virtual std::uint32_t getReferenceCount() const;
    // Whether copies of what holds the object get a clone of their own; false unless a class says otherwise.
    virtual bool isCloneable() const;

protected:
    // Raises that the count has no room for another reference.
    [[noreturn]] static void raiseTooMany();
    // Deletes an object without references through the virtual destructor, in bounded stack depth. A class that
    // guards its count says how a reference is taken and dropped while the object is put aside.
    static void destroy(const kxReference* object, const kxDestruction::Steps& steps);

    // Of the thread-safe variant under its mutex.
    mutable std::uint32_t referenceCount_ = 0;

private:
    template <typename... Alignment> static void destroyInPlace(kxReference* object, Alignment... alignment);
    void releaseLast() const;

    static const kxDestruction::Steps kSteps;
    [[noreturn]] void refuseReference() const;

    std::uint32_t tag_ = 0;
};
