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

    void ref() const override;
    void unref() const override;
    std::uint32_t unrefWithoutDelete() const override;
    // An object whose last reference another thread is just releasing is left to that thread; false then.
    bool deleteIfUnreferenced() const override;
    std::uint32_t getReferenceCount() const override;

private:
    // The count that is left after taking one reference off.
    std::uint32_t release(bool checksLater) const;
    bool destroyIfLast(bool isPendingCheck) const;

    mutable kxMutex mutex_;
    // Releases that saw the count reach 0 and have yet to look whether it still is. Between the two another
    // thread may take and drop a reference; only the last to look may destroy, since the others still need
    // the mutex.
    mutable std::uint32_t pendingChecks_ = 0;
};
