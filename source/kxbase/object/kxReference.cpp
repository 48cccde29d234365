#include "kxbase/object/kxReference.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/object/kxTypeTable.h"

#include <exception>
#include <memory>

namespace {

constexpr const char* kDeletedReferenced =
    "REFERENCE MISMATCH ! Deleted referenced object with nonzero reference count";

void tellDeletedReferenced()
{
    if (std::uncaught_exceptions() == 0) kxRaiseFatal(kDeletedReferenced);
    kxMessage(KX_MESSAGE_FATAL, kDeletedReferenced);
}

}  // namespace

// Gives the memory of an object back when its destructors are through, however they end. The alignment is that
// of a class for which the usual one is not enough.
template <typename... Alignment> void kxReference::destroyInPlace(kxReference* object, Alignment... alignment)
{
    if (object->referenceCount_ != 0) return tellDeletedReferenced();
    const auto free = [=](void* room) { kxSharedMemory::operator delete(room, alignment...); };
    const std::unique_ptr<void, decltype(free)> room(dynamic_cast<void*>(object), free);
    object->~kxReference();
}

void kxReference::operator delete(kxReference* object, std::destroying_delete_t) noexcept(false)
{
    destroyInPlace(object);
}

void kxReference::operator delete(kxReference* object, std::destroying_delete_t,
                                  std::align_val_t alignment) noexcept(false)
{
    destroyInPlace(object, alignment);
}

kxReference::~kxReference() noexcept(false)
{
    if (referenceCount_ != 0) tellDeletedReferenced();
}

const kxType& kxReference::getType() const
{
    return kxTypeTable::find("kxReference");
}

kxReference* kxReference::clone() const
{
    kxRaiseFatal("Unimplemented clone called for type '%s'", getType().name());
}

std::uint32_t kxReference::setTag(const std::uint32_t& tag)
{
    return tag_ = tag;
}

bool kxReference::isTagClear() const
{
    return tag_ == 0;
}

std::uint32_t kxReference::unrefWithoutDelete() const
{
    if (referenceCount_ == 0) kxRaiseFatal("REFRENCE MISMATCH ! Unref an object with zero reference count.");
    return --referenceCount_;
}

bool kxReference::deleteIfUnreferenced() const
{
    if (referenceCount_ != 0) return false;
    destroy(this, kSteps);
    return true;
}

bool kxReference::isShareable() const
{
    return true;
}

std::uint32_t kxReference::getReferenceCount() const
{
    return referenceCount_;
}

bool kxReference::isCloneable() const
{
    return false;
}

void kxReference::releaseLast() const
{
    if (referenceCount_ == 0) kxRaiseFatal("REFERENCE MISMATCH ! Unref an object with zero reference count.");
    referenceCount_ = 0;
    destroy(this, kSteps);
}

void kxReference::refuseReference() const
{
    --referenceCount_;
    raiseTooMany();
}

void kxReference::raiseTooMany()
{
    kxRaiseFatal("REFERENCE MISMATCH ! Too many references to an object");
}

void kxReference::destroy(const kxReference* object, const kxDestruction::Steps& steps)
{
    kxDestruction::run(object, steps);
}

constinit const kxDestruction::Steps kxReference::kSteps = {
    [](const kxReference* object) { object->referenceCount_ = 1; },
    [](const kxReference* object) {
        if (--object->referenceCount_ == 0) delete object;
    },
};
