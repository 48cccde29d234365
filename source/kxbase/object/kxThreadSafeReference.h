// Reference counted object that several threads share: the count is guarded by a mutex of the object.
//
// Threads: ref, unref and the other operations on the count may be called from any thread that holds a
//          reference. No lock is held while the destructor runs, and none is taken once it has started, so
//          they cannot dead-lock with locks of the caller unless the destructor takes one.
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
    // The last release asks deleteIfUnreferenced(), which a class may override, whether the object goes.
    void unref() const override;
    std::uint32_t unrefWithoutDelete() const override;
    // An object whose last reference another thread is just releasing is left to that thread; false then.
    bool deleteIfUnreferenced() const override;
    std::uint32_t getReferenceCount() const override;

protected:
    // The two halves of a release, between which no lock is held: taking one reference off, which answers the
    // count that is left, and looking whether the object may go. A release that is to look later says so.
    std::uint32_t release(bool looksLater) const;
    bool destroyIfLast(bool isPendingLook) const;

private:
    void dropPendingLook() const;

    mutable kxMutex mutex_;
    // Releases that saw the count reach 0 and have yet to look whether it still is. Between the two another
    // thread may take and drop a reference; only the last to look may destroy, since the others still need
    // the mutex.
    mutable std::uint32_t pendingLooks_ = 0;
};
