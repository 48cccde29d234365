#include "kxbase/notify/kxNotifyManager.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/core/kxQuietGuard.h"
#include "kxbase/thread/kxThread.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr std::uint32_t kRetryMilliseconds = 1;
// A thread that removes a subscription tries again every millisecond. When the last try lies so long back nobody is
// trying any more: another thread has removed the subscription in the meantime, or the one that tried was killed.
constexpr double kPatienceSeconds = 0.01;
// Even while removals keep coming, a delivery has its turn.
constexpr int kMostPauses = 20;

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
        if (!isNested_) manager.standBack();
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
        Queue::iterator kept = queue.beforeBegin();  // the last entry that stays
        while (manager_ != nullptr && std::next(kept) != queue.end()) {
            const Queue::iterator next = std::next(kept);
            if (next->expiryTime > now && next->dueTime > now) {
                kept = next;
                continue;
            }
            // Out of the queue first, so that an exception leaves the others behind it.
            const Entry entry = queue.takeAfter(kept);
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

kxMutex& kxNotifyManager::linksLock()
{
    return kxProcessMutex<struct kxNotifyLinks>();
}

void kxNotifyManager::post(const kxString& name, std::int32_t priority, double lifetimeSeconds,
                           const void* sender, const kxRefPointer<kxReference>& payload, double tag,
                           bool deliverNow, double dueSeconds)
{
    auto message =
        kxMakeRef<kxNotifyMessage>(name, sender, payload, kxClock::seconds(), lifetimeSeconds, tag);
    const double expiryTime = message->getExpiryTime();
    insert({std::move(message), sender, -std::int64_t{priority}, dueSeconds, expiryTime});
    if (deliverNow || autoDeliver_.load(std::memory_order_relaxed)) deliver();
}

void kxNotifyManager::insert(Entry entry)
{
    const kxQuietGuard guard(pendingLock_);
    if (pending_.isEmpty() || pending_.last()->key <= entry.key) {
        pending_.append(std::move(entry));
        return;
    }
    Queue::iterator place = pending_.beforeBegin();
    while (std::next(place)->key <= entry.key) ++place;
    pending_.insertAfter(place, std::move(entry));
}

void kxNotifyManager::deliver()
{
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
    deliveryQueue_.splice(pending_);
}

// Brings the list up to date between two deliveries.
void kxNotifyManager::applyChanges()
{
    if (!hasChanges_.load(std::memory_order_relaxed)) return;
    const kxBodyGuard guard(subscribersLock_);
    std::erase_if(subscribers_, isRemoved);
    subscribers_.insert(subscribers_.end(), addedSubscribers_.begin(), addedSubscribers_.end());
    addedSubscribers_.clear();
    hasChanges_.store(false, std::memory_order_relaxed);
}

// Whether a thread was refused a removal and goes on trying.
bool kxNotifyManager::isRemovalWaiting() const
{
    const double refused = refusedRemovalSeconds_.load(std::memory_order_relaxed);
    return refused != 0 && kxClock::seconds() - refused < kPatienceSeconds;
}

// Lets removals get the lock that deliveries in close order would never leave free. The caller holds it.
void kxNotifyManager::standBack()
{
    for (int pause = 0; pause < kMostPauses && isRemovalWaiting(); ++pause) {
        deliveryLock_.unlock();
        kxThread::sleep(kRetryMilliseconds);
        deliveryLock_.lock();
    }
}

void kxNotifyManager::subscribe(kxNotifyInterface& subscriber, const void* senderFilter)
{
    const kxBodyGuard links(linksLock());
    const kxBodyGuard guard(subscribersLock_);
    const Subscription wanted{&subscriber, senderFilter};
    if (hasAny([&](const Subscription& place) { return place == wanted; })) return;
    const bool isFirst = !hasAny([&](const Subscription& place) { return place.subscriber == &subscriber; });
    if (isFirst) subscriber.managers_.push_back(this);
    hasChanges_.store(true, std::memory_order_relaxed);
    try {
        addedSubscribers_.push_back(wanted);
    } catch (...) {
        if (isFirst) subscriber.managers_.pop_back();
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
        refusedRemovalSeconds_.store(kxClock::seconds(), std::memory_order_relaxed);
        return false;
    }
    refusedRemovalSeconds_.store(0, std::memory_order_relaxed);
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
    std::erase_if(addedSubscribers_, isDropped);
    for (Subscription& place : subscribers_) {
        if (!isDropped(place)) continue;
        place.subscriber = nullptr;
        hasChanges_.store(true, std::memory_order_relaxed);
    }
    if (!hasAny([&](const Subscription& place) { return place.subscriber == &subscriber; }))
        std::erase(subscriber.managers_, this);
}

// The manager goes, so that its subscribers must not know it any more. The caller holds the lock of the links.
void kxNotifyManager::forgetSubscribers(const Subscriptions& subscriptions)
{
    for (const Subscription& place : subscriptions)
        if (!isRemoved(place)) std::erase(place.subscriber->managers_, this);
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
    return static_cast<std::uint32_t>(subscribers_.size() + addedSubscribers_.size()) -
           static_cast<std::uint32_t>(removed);
}

std::uint32_t kxNotifyManager::getPendingCount() const
{
    const kxBodyGuard guard(pendingLock_);
    return pending_.count();
}
