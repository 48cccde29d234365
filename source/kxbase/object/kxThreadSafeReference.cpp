#include "kxbase/object/kxThreadSafeReference.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxMessage.h"

#include <limits>

namespace {

constexpr std::uint32_t kMismatch = 0xFFFFFFFFU;

}  // namespace

void kxThreadSafeReference::ref() const
{
    bool isFull = false;
    {
        const kxBodyGuard guard(mutex_);
        isFull = referenceCount_ == std::numeric_limits<std::uint32_t>::max();
        if (!isFull) ++referenceCount_;
    }
    if (isFull) raiseTooMany();
}

void kxThreadSafeReference::unref() const
{
    if (release(true) == 0) destroyIfLast(true);
}

std::uint32_t kxThreadSafeReference::unrefWithoutDelete() const
{
    return release(false);
}

bool kxThreadSafeReference::deleteIfUnreferenced() const
{
    return destroyIfLast(false);
}

std::uint32_t kxThreadSafeReference::getReferenceCount() const
{
    const kxBodyGuard guard(mutex_);
    return referenceCount_;
}

std::uint32_t kxThreadSafeReference::release(bool looksLater) const
{
    std::uint32_t left = kMismatch;
    {
        const kxBodyGuard guard(mutex_);
        if (referenceCount_ != 0) left = --referenceCount_;
        if (left == 0 && looksLater) ++pendingLooks_;
    }
    if (left == kMismatch) kxRaiseFatal("REFRENCE MISMATCH ! Unref an object with zero reference count.");
    return left;
}

bool kxThreadSafeReference::destroyIfLast(bool isPendingLook) const
{
    bool isLast = false;
    {
        const kxBodyGuard guard(mutex_);
        if (isPendingLook) --pendingLooks_;
        isLast = referenceCount_ == 0 && pendingLooks_ == 0;
    }
    if (isLast) destroy(this);
    return isLast;
}
