// One announced event: what happened, who announces it, and whatever belongs to it.
//
// Ownership: holds a reference to the payload; refers to the sender, which is not looked at but compared.
// Threads:   does not change once made, and its own count is thread-safe. The payload is shared with the poster
//            and with all subscribers: one that several threads reference is a kxThreadSafeReference.
// Units:     times are seconds of the process clock, the lifetime in seconds.
#pragma once

#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxThreadSafeReference.h"
#include "kxbase/string/kxString.h"

#include <limits>

class kxNotifyMessage : public kxThreadSafeReference {
public:
    static constexpr double KX_NEVER = std::numeric_limits<double>::max();

    // A lifetime of 0 never expires.
    kxNotifyMessage(const kxString& name, const void* sender, const kxRefPointer<kxReference>& payload,
                    double creationSeconds, double lifetimeSeconds, double tag);
    // Clones the payload when it is cloneable, else shares it.
    kxNotifyMessage(const kxNotifyMessage& other);
    kxNotifyMessage& operator=(const kxNotifyMessage&) = delete;

    const kxType& getType() const override;
    kxReference* clone() const override;
    bool isCloneable() const override { return true; }

    // The kind of message.
    const kxString& getName() const { return name_; }
    const void* getSender() const { return sender_; }
    // Null when there is none.
    kxReference* getPayload() const { return payload_.get(); }
    double getCreationTime() const { return creationTime_; }
    // KX_NEVER when it has no end.
    double getExpiryTime() const { return expiryTime_; }
    // The number that the poster gave; the tag word of kxReference::setTag is another one.
    double getTag() const { return tag_; }

private:
    const kxString name_;
    const void* const sender_;
    const kxRefPointer<kxReference> payload_;
    const double creationTime_;
    const double expiryTime_;
    const double tag_;
};
