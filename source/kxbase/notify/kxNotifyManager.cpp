#include "kxbase/notify/kxNotifyManager.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/thread/kxThread.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr std::uint32_t kRetryMilliseconds = 1;
// Longer than the time between two tries of a removal.
constexpr std::uint32_t kStandBackMilliseconds = 2;

// A removed subscription stays in its place until no delivery walks the list.
bool isRemoved(const kxPendSub<kxNotifyInterface>& subscription)
{
    return subscription.subscriber == nullptr;
}

}  // namespace

// One delivery with its lock. A subscriber may destroy the manager, which then calls abandon(); nothing of the
// manager is touched afterwards.
class kxNotifyManager::Delivery {
public:
    explicit Delivery(kxNotifyManager& manager) : manager_(&manager)
    {
        manager.deliveryLock_.lock();
        isNested_ = manager.delivery_ != nullptr;
    }
    ~Delivery()
    {
        if (manager_ == nullptr) return;
        if (manager_->delivery_ == this) manager_->delivery_ = nullptr;
        manager_->deliveryLock_.unlock();
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

    bool isNested() const { return isNested_; }
    void abandon() { manager_ = nullptr; }

    void run()
    {
        manager_->delivery_ = this;
        const double now = kxClock::seconds();
        Queue& queue = manager_->deliveryQueue_;
        Queue::iterator kept;  // the last entry that stays
        while (manager_ != nullptr) {
            const Queue::iterator next = kept == Queue::iterator() ? queue.begin() : std::next(kept);
            if (next == queue.end()) break;
            if (next->expiryTime > now && next->dueTime > now) {
                kept = next;
                continue;
            }
            // Out of the queue first, so that an exception leaves the others behind it.
            const Entry entry = kept == Queue::iterator() ? queue.takeFirst() : queue.takeAfter(kept);
            if (entry.expiryTime > now) handOver(entry);
        }
    }

private:
    void handOver(const Entry& entry)
    {
        for (const Subscription& place : manager_->subscribers_) {
            if (isRemoved(place) || !place.wants(entry.sender)) continue;
            place.subscriber->receive(*manager_, *entry.data, entry.sender);
            if (manager_ == nullptr) return;
        }
    }

    kxNotifyManager* manager_;  // null once it has gone
    bool isNested_ = false;
};

kxNotifyManager::kxNotifyManager()
{
    subscribers_.setReuse(true);
    addedSubscribers_.setReuse(true);
    pending_.setReuse(true);
    deliveryQueue_.setReuse(true);
}

kxNotifyManager::~kxNotifyManager() noexcept(false)
{
    deliveryLock_.lock();
    {
        const kxBodyGuard links(linksLock());
        forgetSubscribers(subscribers_);
        forgetSubscribers(addedSubscribers_);
    }
    // A delivery that has the lock as well is one of this thread's.
    if (delivery_ != nullptr) {
        delivery_->abandon();
        deliveryLock_.unlock();
    }
    deliveryLock_.unlock();
}

// Never destroyed, since subscribers may be static.
kxMutex& kxNotifyManager::linksLock()
{
    static kxMutex& lock = *new kxMutex;
    return lock;
}

void kxNotifyManager::post(const kxString& name, std::int32_t priority, double lifetimeSeconds,
                           const void* sender, const kxRefPointer<kxReference>& payload, double tag,
                           bool deliverNow, double dueTime)
{
    auto message =
        kxMakeRef<kxNotifyMessage>(name, sender, payload, kxClock::seconds(), lifetimeSeconds, tag);
    const double expiryTime = message->getExpiryTime();
    insert({std::move(message), sender, -std::int64_t{priority}, dueTime, expiryTime});
    if (deliverNow || autoDeliver_.load(std::memory_order_relaxed)) deliver();
}

void kxNotifyManager::insert(Entry entry)
{
    const kxBodyGuard guard(pendingLock_);
    if (pending_.isEmpty() || pending_.last()->key <= entry.key) {
        pending_.append(std::move(entry));
    } else if (pending_.first()->key > entry.key) {
        pending_.prepend(std::move(entry));
    } else {
        Queue::iterator place = pending_.begin();
        while (std::next(place)->key <= entry.key) ++place;
        pending_.insertAfter(place, std::move(entry));
    }
}

void kxNotifyManager::deliver()
{
    standBack();
    Delivery delivery(*this);
    if (delivery.isNested()) return;
    takePending();
    if (deliveryQueue_.isEmpty()) return;
    applyChanges();
    delivery.run();
}

void kxNotifyManager::takePending()
{
    const kxBodyGuard guard(pendingLock_);
    while (!pending_.isEmpty()) deliveryQueue_.append(pending_.takeFirst());
}

// Brings the list up to date between two deliveries.
void kxNotifyManager::applyChanges()
{
    if (!hasChanges_.load(std::memory_order_relaxed)) return;
    const kxBodyGuard guard(subscribersLock_);
    while (subscribers_.removeFirstWhere(isRemoved)) {
    }
    for (; !addedSubscribers_.isEmpty(); addedSubscribers_.takeFirst())
        subscribers_.append(*addedSubscribers_.first());
    hasChanges_.store(false, std::memory_order_relaxed);
}

// Lets a removal get the lock that deliveries in close order would never leave free.
void kxNotifyManager::standBack()
{
    if (!isRemovalWaiting_.load(std::memory_order_relaxed)) return;
    isRemovalWaiting_.store(false, std::memory_order_relaxed);
    kxThread::sleep(kStandBackMilliseconds);
}

void kxNotifyManager::subscribe(kxNotifyInterface& subscriber, const void* senderFilter)
{
    const kxBodyGuard links(linksLock());
    const kxBodyGuard guard(subscribersLock_);
    const Subscription wanted{&subscriber, senderFilter};
    if (hasAny([&](const Subscription& place) { return place == wanted; })) return;
    const bool isFirst = !hasAny([&](const Subscription& place) { return place.subscriber == &subscriber; });
    if (isFirst) subscriber.managers_.append(this);
    hasChanges_.store(true, std::memory_order_relaxed);
    try {
        addedSubscribers_.append(wanted);
    } catch (...) {
        if (isFirst) subscriber.managers_.remove(this);
        throw;
    }
}

void kxNotifyManager::unsubscribe(kxNotifyInterface& subscriber, const void* senderFilter)
{
    unsubscribe(subscriber, Filter(senderFilter));
}

void kxNotifyManager::unsubscribe(kxNotifyInterface& subscriber)
{
    unsubscribe(subscriber, kAnyFilter);
}

void kxNotifyManager::unsubscribe(kxNotifyInterface& subscriber, Filter filter)
{
    const auto tryOnce = [&] {
        const kxBodyGuard links(linksLock());
        return tryDrop(subscriber, filter);
    };
    while (!tryOnce()) waitBeforeRetry();
}

void kxNotifyManager::waitBeforeRetry()
{
    kxThread::sleep(kRetryMilliseconds);
}

// Answers false while another thread delivers. The caller holds the lock of the links.
bool kxNotifyManager::tryDrop(kxNotifyInterface& subscriber, Filter filter)
{
    if (!deliveryLock_.tryLock()) {
        isRemovalWaiting_.store(true, std::memory_order_relaxed);
        return false;
    }
    drop(subscriber, filter);
    deliveryLock_.unlock();
    return true;
}

void kxNotifyManager::drop(kxNotifyInterface& subscriber, Filter filter)
{
    const kxBodyGuard guard(subscribersLock_);
    const auto isDropped = [&](const Subscription& place) {
        return place.subscriber == &subscriber && (!filter || place.senderFilter == *filter);
    };
    while (addedSubscribers_.removeFirstWhere(isDropped)) {
    }
    for (Subscription& place : subscribers_) {
        if (!isDropped(place)) continue;
        place.subscriber = nullptr;
        hasChanges_.store(true, std::memory_order_relaxed);
    }
    if (!hasAny([&](const Subscription& place) { return place.subscriber == &subscriber; }))
        subscriber.managers_.remove(this);
}

// The manager goes, so that its subscribers must not know it any more. The caller holds the lock of the links.
void kxNotifyManager::forgetSubscribers(const Subscriptions& subscriptions)
{
    for (const Subscription& place : subscriptions)
        if (!isRemoved(place)) place.subscriber->managers_.remove(this);
}

template <typename Predicate> bool kxNotifyManager::hasAny(Predicate predicate) const
{
    return std::any_of(subscribers_.begin(), subscribers_.end(), predicate) ||
           std::any_of(addedSubscribers_.begin(), addedSubscribers_.end(), predicate);
}

std::uint32_t kxNotifyManager::getSubscriptionCount() const
{
    const kxBodyGuard guard(subscribersLock_);
    const auto removed = std::count_if(subscribers_.begin(), subscribers_.end(), isRemoved);
    return subscribers_.count() + addedSubscribers_.count() - static_cast<std::uint32_t>(removed);
}

std::uint32_t kxNotifyManager::getPendingCount() const
{
    const kxBodyGuard guard(pendingLock_);
    return pending_.count();
}
