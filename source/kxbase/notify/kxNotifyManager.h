// Announces events to subscribers: takes messages in at any time and hands them over when asked to. A class that
// announces events derives from it.
//
// A delivery takes in what has been posted since the last one, in the order of priority, behind what that one has
// left: messages that wait for their due time, or that an exception kept from being delivered. So the priority
// orders messages that are taken in together; a message that was left comes before new ones of any priority.
//
// Ownership: owns the messages that wait; refers to subscribers, and forgets those that go. Managers and
//            subscribers may go in any order, on any threads, also from inside a delivery.
// Threads:   post() may be called from any thread and never waits for a delivery, unless it delivers. Deliveries
//            of one manager come one after the other; the manager stays locked for others meanwhile, while
//            subscribers are called. So a subscriber must not wait for a thread that delivers or unsubscribes
//            here, and from inside its own delivery must not unsubscribe from a manager whose delivery may be
//            doing the same the other way round.
//            During a delivery, new subscriptions wait until it is over. Unsubscribing from inside takes effect
//            at once; from another thread it waits for the delivery.
// Errors:    an exception from a subscriber ends the delivery and goes to its caller. The message that was being
//            delivered is gone, those behind it wait for the next delivery.
// Units:     times are seconds of the process clock.
#pragma once

#include "kxbase/containers/kxList.h"
#include "kxbase/core/kxMutex.h"
#include "kxbase/notify/kxNotifyInterface.h"
#include "kxbase/notify/kxPendData.h"
#include "kxbase/notify/kxPendSub.h"

#include <atomic>
#include <optional>
#include <vector>

class kxNotifyManager {
public:
    kxNotifyManager();
    virtual ~kxNotifyManager() noexcept(false);
    kxNotifyManager(const kxNotifyManager&) = delete;
    kxNotifyManager& operator=(const kxNotifyManager&) = delete;

    // Queues a message behind all of the same or a higher priority, and delivers when asked to, here or by
    // setAutoDeliver. It is dropped when it has not been delivered within its lifetime, of which 0 has no end,
    // and stays in the queue until its due time, in seconds of the process clock, of which 0 is at once.
    void post(const kxString& name, std::int32_t priority = 0, double lifetimeSeconds = 0,
              const void* sender = nullptr, const kxRefPointer<kxReference>& payload = nullptr,
              double tag = 0, bool deliverNow = false, double dueSeconds = 0);
    // Hands over what waits. Does nothing from inside a delivery of this manager; what is posted there waits for
    // the next one.
    void deliver();
    // Whether every post delivers at once; at first none does.
    void setAutoDeliver(bool delivers) { autoDeliver_.store(delivers, std::memory_order_relaxed); }

    // Subscribes to the messages of one sender, or of all when it is null. A subscriber may have several
    // subscriptions and gets a message once for each that fits; one that it has already changes nothing.
    // Subscribers are called in the order in which they subscribed.
    void subscribe(kxNotifyInterface& subscriber, const void* senderFilter = nullptr);
    // Ends one subscription, or all of a subscriber.
    void unsubscribe(kxNotifyInterface& subscriber, const void* senderFilter);
    void unsubscribe(kxNotifyInterface& subscriber);

    // Subscriptions, also those that wait for the end of a delivery.
    std::uint32_t getSubscriptionCount() const;
    // Messages posted since the last delivery began, without those that earlier deliveries have left.
    std::uint32_t getPendingCount() const;

private:
    friend class kxNotifyInterface;
    class Delivery;
    using Subscription = kxPendSub<kxNotifyInterface>;
    using Subscriptions = std::vector<Subscription>;
    using Entry = kxPendData<kxRefPointer<kxNotifyMessage>>;
    using Queue = kxList<Entry>;

    // A filter that a subscription must have.
    using Filter = std::optional<const void*>;
    static constexpr Filter kAnyFilter = std::nullopt;

    static kxMutex& linksLock();
    static void waitBeforeRetry();
    void insert(Entry entry);
    void takePending();
    void applyChanges();
    bool isRemovalWaiting() const;
    void standBack();
    void unsubscribe(kxNotifyInterface& subscriber, Filter filter);
    bool tryDrop(kxNotifyInterface& subscriber, Filter filter);
    void drop(kxNotifyInterface& subscriber, Filter filter);
    void forgetSubscribers(const Subscriptions& subscriptions);
    template <typename Predicate> bool hasAny(Predicate predicate) const;

    // Order of locks: delivery, links, subscribers; or delivery, pending. The one of the links is common to all
    // managers; whoever holds it finds every manager that a subscriber knows alive, and the other way round, and
    // therefore only tries for the one of the delivery. Nothing takes the lock of another process-wide object
    // under it.
    // A delivery walks the list with its own lock alone. So subscriptions wait in a second list for the next
    // delivery to begin, and removals, which have the lock of the delivery as well, leave a null subscriber.
    mutable kxMutex subscribersLock_;
    Subscriptions subscribers_;
    Subscriptions addedSubscribers_;
    std::atomic<bool> hasChanges_{false};
    kxMutex deliveryLock_;  // guards the two below
    Queue deliveryQueue_;
    Delivery* delivery_ = nullptr;  // the one that runs
    mutable kxMutex pendingLock_;   // guards the queue below
    Queue pending_;
    std::atomic<bool> autoDeliver_{false};
    // Clock seconds of the last removal that did not get the lock of the delivery; 0 when one has got it since.
    std::atomic<double> refusedRemovalSeconds_{0};
};
