#include "kxbase/object/kxReference.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/object/kxDestruction.h"
#include "kxbase/object/kxTypeTable.h"

#include <exception>

namespace {

constexpr const char* kDeletedReferenced =
    "REFERENCE MISMATCH ! Deleted referenced object with nonzero reference count";

void tellDeletedReferenced()
{
    if (std::uncaught_exceptions() == 0) kxRaiseFatal(kDeletedReferenced);
    kxMessage(KX_MESSAGE_FATAL, kDeletedReferenced);
}

// Gives the memory of an object back when its destructors are through, however they end.
class Room {
public:
    explicit Room(kxReference* object) noexcept : room_(dynamic_cast<void*>(object)) {}
    ~Room() { kxTrackedFree(room_); }
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;

private:
    void* room_;
};

}  // namespace

void kxReference::operator delete(kxReference* object, std::destroying_delete_t) noexcept(false)
{
    if (object->referenceCount_ != 0) return tellDeletedReferenced();
    const Room room(object);
    object->~kxReference();
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
    destroy(this);
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
    destroy(this);
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

void kxReference::destroy(const kxReference* object)
{
    kxDestruction::run(object, [](const void* dying) { delete static_cast<const kxReference*>(dying); });
}
