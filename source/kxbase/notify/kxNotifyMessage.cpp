#include "kxbase/notify/kxNotifyMessage.h"

namespace {

kxRefPointer<kxReference> copyOf(const kxRefPointer<kxReference>& payload)
{
    return payload && payload->isCloneable() ? kxRefPointer<kxReference>(payload->clone()) : payload;
}

}  // namespace

kxNotifyMessage::kxNotifyMessage(const kxString& name, const void* sender,
                                 const kxRefPointer<kxReference>& payload, double creationSeconds,
                                 double lifetimeSeconds, double tag)
    : name_(name), sender_(sender), payload_(payload), creationTime_(creationSeconds),
      expiryTime_(lifetimeSeconds == 0 ? KX_NEVER : creationSeconds + lifetimeSeconds), tag_(tag)
{}

kxNotifyMessage::kxNotifyMessage(const kxNotifyMessage& other)
    : kxThreadSafeReference(other), name_(other.name_), sender_(other.sender_),
      payload_(copyOf(other.payload_)), creationTime_(other.creationTime_), expiryTime_(other.expiryTime_),
      tag_(other.tag_)
{}

const kxType& kxNotifyMessage::getType() const
{
    return kxTypeTable::find("kxNotifyMessage");
}

kxReference* kxNotifyMessage::clone() const
{
    return new kxNotifyMessage(*this);
}
