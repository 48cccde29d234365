// Takes the messages of the notify managers that it is subscribed to.
//
// Ownership: belongs to whoever made it; managers refer to it until it unsubscribes, goes, or they go.
// Threads:   receive() is called on the thread that delivers, by one thread at a time for each manager. A class
//            whose messages are delivered on other threads calls unsubscribeFromAll() first in its destructor,
//            as receive() must not come while it is half gone.
// Errors:    what receive() throws ends the delivery and reaches the caller of deliver().
#pragma once

#include "kxbase/notify/kxNotifyMessage.h"

#include <vector>

class kxNotifyManager;

class kxNotifyInterface {
public:
    kxNotifyInterface() = default;
    // A copy has no subscriptions; those of the target stay.
    kxNotifyInterface(const kxNotifyInterface&) noexcept {}
    kxNotifyInterface& operator=(const kxNotifyInterface&) noexcept { return *this; }
    virtual ~kxNotifyInterface();

    // A message may be kept by a reference of one's own.
    virtual void receive(kxNotifyManager& manager, kxNotifyMessage& message, const void* sender) = 0;

    // Waits for deliveries of these managers on other threads; afterwards receive() is not called any more.
    void unsubscribeFromAll();

private:
    friend class kxNotifyManager;

    bool tryUnsubscribeFromAll();

    std::vector<kxNotifyManager*> managers_;  // each once; guarded by the lock of all links
};
