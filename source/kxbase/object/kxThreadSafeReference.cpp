#include "kxbase/object/kxThreadSafeReference.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxMessage.h"

#include <limits>

namespace {

constexpr std::uint32_t kMismatch = 0xFFFFFFFFU;

// A release of this thread that is asking deleteIfUnreferenced(). As that may be overridden, the call itself
// cannot say that a look is pending; it is found here. Plain data on the stack of the release, so that it may
// be asked after the object has gone.
struct Look {
    const kxThreadSafeReference* object;  // null once the look is taken
    Look* outer;
};
thread_local Look* looks = nullptr;

class Looking {
public:
    explicit Looking(const kxThreadSafeReference* object) noexcept : look_{object, looks} { looks = &look_; }
    ~Looking() { looks = look_.outer; }
    Looking(const Looking&) = delete;
    Looking& operator=(const Looking&) = delete;

    bool isPending() const noexcept { return look_.object != nullptr; }

private:
    Look look_;
};

// Takes the innermost look of this thread at the object; answers whether there was one.
bool takeLook(const kxThreadSafeReference* object) noexcept
{
    for (Look* look = looks; look != nullptr; look = look->outer) {
        if (look->object != object) continue;
        look->object = nullptr;
        return true;
    }
    return false;
}

}  // namespace

kxThreadSafeReference::~kxThreadSafeReference() noexcept(false)
{
    while (takeLook(this)) {
    }
}

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

bool kxThreadSafeReference::refIfReferenced() const
{
    const kxBodyGuard guard(mutex_);
    if (referenceCount_ == 0 || referenceCount_ == std::numeric_limits<std::uint32_t>::max()) return false;
    ++referenceCount_;
    return true;
}

void kxThreadSafeReference::unref() const
{
    if (release(true) != 0) return;
    const Looking looking(this);
    deleteIfUnreferenced();
    // An override that keeps the object need not have looked.
    if (looking.isPending()) dropPendingLook();
}

std::uint32_t kxThreadSafeReference::unrefWithoutDelete() const
{
    return release(false);
}

bool kxThreadSafeReference::deleteIfUnreferenced() const
{
    return destroyIfLast(takeLook(this));
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

void kxThreadSafeReference::dropPendingLook() const
{
    const kxBodyGuard guard(mutex_);
    --pendingLooks_;
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
