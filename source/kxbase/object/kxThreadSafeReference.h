// Reference counted object that several threads share: the count is guarded by a mutex of the object.
//
// Threads: ref, unref and the other operations on the count may be called from any thread that holds a
//          reference. No lock is held while the destructor runs, and none is taken once it has started, so
//          they cannot dead-lock with locks of the caller unless the destructor takes one.
//          In a forked child the count of an object that another thread was just using may be out of reach:
//          its mutex stays locked.
// Errors:  as in kxReference; both ways to release report the same text.
#pragma once

#include "kxbase/core/kxMutex.h"
#include "kxbase/object/kxReference.h"

class kxThreadSafeReference : public kxReference {
public:
    kxThreadSafeReference() noexcept = default;
    kxThreadSafeReference(const kxThreadSafeReference& other) noexcept : kxReference(other) {}
    kxThreadSafeReference& operator=(const kxThreadSafeReference&) noexcept { return *this; }

    ~kxThreadSafeReference() noexcept(false) override;

    void ref() const override;
    // Takes a reference only when there is one already; answers whether it did. For tables of objects that refer
    // to them without a reference: the object must not have been destroyed, but may just be about to be.
    bool refIfReferenced() const;
    // The last release asks deleteIfUnreferenced(), which a class may override, whether the object goes. An
    // override that throws keeps the object.
    void unref() const override;
    std::uint32_t unrefWithoutDelete() const override;
    // An object whose last reference another thread is just releasing is left to that thread; false then.
    bool deleteIfUnreferenced() const override;
    std::uint32_t getReferenceCount() const override;

protected:
    // The two halves of a release, between which no lock is held: taking one reference off, which answers the
    // count that is left, and the check whether the object may go, which whoever brought the count to 0 owes.
    std::uint32_t countDown() const;
    // Destroys the object when it has no references and nobody else owes a check.
    bool destroyIfLast(std::uint32_t checksPaid) const;

private:
    class OwedCheck;
    static const kxDestruction::Steps kSteps;
    static constexpr std::uint32_t kMismatch = 0xFFFFFFFFU;

    std::uint32_t takeOneOff(std::uint32_t checksOwedAtZero) const;
    void payCheck() const;

    mutable kxMutex mutex_;
    // Releases that brought the count to 0 and have yet to check whether it still is. Between the two another
    // thread may take and drop a reference; only the last to check may destroy, since the others still need
    // the mutex.
    mutable std::uint32_t checksOwed_ = 0;
};
