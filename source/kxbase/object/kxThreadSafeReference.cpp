#include "kxbase/object/kxThreadSafeReference.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxMessage.h"

#include <limits>

// Why a release owes a check: thread A brings the count to 0 and lets go of the mutex. Before A looks again, thread B
// takes a reference and drops it, which brings the count to 0 once more. If B destroyed the object, A would lock a
// mutex that is gone; so only the last of the two checks may destroy.
//
// A release of this thread that has brought the count to 0 and asks deleteIfUnreferenced(). As that may be
// overridden, the call itself cannot say that it pays the check; what is owed is found here. It lies on the
// stack of the release, so that it may be asked after the object has gone.
class kxThreadSafeReference::OwedCheck {
public:
    explicit OwedCheck(const kxThreadSafeReference* object) noexcept : object_(object), outer_(innermost)
    {
        innermost = this;
    }
    // An override that keeps the object, or throws, need not have checked.
    ~OwedCheck()
    {
        innermost = outer_;
        if (object_ != nullptr) object_->payCheck();
    }
    OwedCheck(const OwedCheck&) = delete;
    OwedCheck& operator=(const OwedCheck&) = delete;

    // Takes over the innermost check that this thread owes the object; answers how many there were, 0 or 1.
    static std::uint32_t takeOver(const kxThreadSafeReference* object) noexcept
    {
        for (OwedCheck* check = innermost; check != nullptr; check = check->outer_)
            if (check->object_ == object) return check->object_ = nullptr, 1;
        return 0;
    }

private:
    static thread_local OwedCheck* innermost;

    const kxThreadSafeReference* object_;  // null once the check is another's
    OwedCheck* outer_;
};

thread_local kxThreadSafeReference::OwedCheck* kxThreadSafeReference::OwedCheck::innermost = nullptr;

kxThreadSafeReference::~kxThreadSafeReference() noexcept(false)
{
    // Only an override that deletes the object by itself leaves checks behind.
    if (checksOwed_ == 0) return;
    while (OwedCheck::takeOver(this) != 0) {
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
    if (countDown() != 0) return;
    const OwedCheck check(this);
    deleteIfUnreferenced();
}

std::uint32_t kxThreadSafeReference::unrefWithoutDelete() const
{
    return takeOneOff(0);
}

bool kxThreadSafeReference::deleteIfUnreferenced() const
{
    return destroyIfLast(OwedCheck::takeOver(this));
}

std::uint32_t kxThreadSafeReference::getReferenceCount() const
{
    const kxBodyGuard guard(mutex_);
    return referenceCount_;
}

std::uint32_t kxThreadSafeReference::countDown() const
{
    return takeOneOff(1);
}

std::uint32_t kxThreadSafeReference::takeOneOff(std::uint32_t checksOwedAtZero) const
{
    std::uint32_t left = kMismatch;
    {
        const kxBodyGuard guard(mutex_);
        if (referenceCount_ != 0) left = --referenceCount_;
        if (left == 0) checksOwed_ += checksOwedAtZero;
    }
    if (left == kMismatch) kxRaiseFatal("REFRENCE MISMATCH ! Unref an object with zero reference count.");
    return left;
}

void kxThreadSafeReference::payCheck() const
{
    const kxBodyGuard guard(mutex_);
    --checksOwed_;
}

bool kxThreadSafeReference::destroyIfLast(std::uint32_t checksPaid) const
{
    bool isLast = false;
    {
        const kxBodyGuard guard(mutex_);
        checksOwed_ -= checksPaid;
        isLast = referenceCount_ == 0 && checksOwed_ == 0;
    }
    if (isLast) destroy(this, kSteps);
    return isLast;
}

constinit const kxDestruction::Steps kxThreadSafeReference::kSteps = {
    [](const kxReference* object) {
        static_cast<const kxThreadSafeReference*>(object)->kxThreadSafeReference::ref();
    },
    [](const kxReference* object) {
        const auto* const shared = static_cast<const kxThreadSafeReference*>(object);
        if (shared->countDown() == 0) shared->destroyIfLast(1);
    },
};
