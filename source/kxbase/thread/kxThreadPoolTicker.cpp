#include "kxbase/thread/kxThreadPoolTicker.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxDropExceptions.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/thread/kxEvent.h"
#include "kxbase/thread/kxThread.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <list>

namespace {

constexpr std::uint32_t kShortestPauseMilliseconds = 1;
constexpr std::uint32_t kLongestPauseMilliseconds = 10;
// With nothing to tick; a new ticker ends it.
constexpr std::uint32_t kEmptyPauseMilliseconds = 60 * 60 * 1000;

// Which ticker is where, in all pools; taken before the lock of a worker.
kxMutex& membersLock()
{
    return kxProcessMutex<struct kxTickerMembers>();
}

}  // namespace

// A ticker's place in a pool. It is never given to another ticker, and goes once its thread has found it empty.
struct kxThreadTicker::Slot {
    explicit Slot(kxThreadTicker& owner) : ticker(&owner) {}

    std::atomic<kxThreadTicker*> ticker;  // null when it was removed
};

// One thread and its tickers. The thread goes round a list of its own, so that it takes no lock for a tick: it
// says which ticker comes, and then looks whether it is still there. A ticker that was removed before is seen to
// have gone; who removes it after finds it current, and waits.
class kxThreadPoolTicker::Worker : public kxThread {
public:
    using Slot = kxThreadTicker::Slot;
    using Slots = std::list<Slot>;

    explicit Worker(kxThreadPoolTicker& pool) : pool_(pool) {}

    // The caller holds the lock of the members for each of the following three.

    // Takes over the one slot of a list.
    void add(Slots& single)
    {
        const kxBodyGuard guard(changed_);
        single.front().ticker.load()->slot_ = &single.front();
        added_.splice(added_.end(), single);
        ++count_;
        noteNews();
    }

    void remove(Slot& slot)
    {
        slot.ticker.load()->slot_ = nullptr;
        slot.ticker.store(nullptr);
        --count_;
    }

    // The thread must have ended.
    void removeAll()
    {
        slots_.splice(slots_.end(), added_);
        for (Slot& slot : slots_)
            if (slot.ticker.load() != nullptr) remove(slot);
    }

    void waitForTick(const kxThreadTicker& ticker)
    {
        const auto isInTick = [&] {
            return current_.load() == &ticker && tickingThreadId_.load() != kxPlatformThreadId();
        };
        if (!isInTick()) return;
        changed_.lock();
        ++removerCount_;
        while (isInTick()) {
            changed_.wait(kLongestPauseMilliseconds, true);
            changed_.lock();
        }
        --removerCount_;
        changed_.unlock();
    }

    void end()
    {
        const kxBodyGuard guard(changed_);
        ends_ = true;
        noteNews();
    }

    std::uint32_t count() const { return count_.load(); }

private:
    // Under the lock.
    void noteNews()
    {
        hasNews_.store(true);
        changed_.signal();
    }

    void process() override
    {
        tickingThreadId_ = kxPlatformThreadId();
        std::uint32_t pause = kShortestPauseMilliseconds;
        while (true) {
            if (hasNews_.load()) {
                takeNews();
                pause = kShortestPauseMilliseconds;
            }
            if (ends_.load()) return;
            if (goRound()) {
                pause = kShortestPauseMilliseconds;
            } else {
                rest(pause);
                pause = std::min(pause * 2, kLongestPauseMilliseconds);
            }
        }
    }

    void takeNews()
    {
        const kxBodyGuard guard(changed_);
        slots_.splice(slots_.end(), added_);
        hasNews_.store(false);
    }

    // Also when a tick ends the thread, so that whoever removes the ticker does not wait for it.
    struct RoundEnd {
        ~RoundEnd() { worker.announce(nullptr); }
        Worker& worker;
    };

    // Answers whether any ticker had something to do. A ticker may destroy itself in its tick.
    bool goRound()
    {
        const RoundEnd end{*this};
        bool hasWorked = false;
        for (auto slot = slots_.begin(); slot != slots_.end() && !ends_.load();) {
            kxThreadTicker* const ticker = slot->ticker.load();
            announce(ticker);
            if (slot->ticker.load() == nullptr) {
                slot = slots_.erase(slot);
            } else {
                hasWorked |= tick(*ticker, *slot++);
            }
        }
        return hasWorked;
    }

    void announce(const kxThreadTicker* ticker)
    {
        current_.store(ticker);
        if (removerCount_.load() == 0) return;
        const kxBodyGuard guard(changed_);
        changed_.signal();
    }

    void rest(std::uint32_t milliseconds)
    {
        changed_.lock();
        if (hasNews_.load()) {
            changed_.unlock();
        } else {
            changed_.wait(count() == 0 ? kEmptyPauseMilliseconds : milliseconds, true);
        }
    }

    bool tick(kxThreadTicker& ticker, Slot& slot)
    {
        try {
            return ticker.tick();
        } catch (const std::exception& error) {
            pool_.removeFailed(*this, slot, &ticker, error.what());
        } catch (const kxForcedUnwind&) {
            throw;
        } catch (...) {
            pool_.removeFailed(*this, slot, &ticker, "unknown exception");
        }
        return true;
    }

    kxThreadPoolTicker& pool_;
    // Guards what has been added, and is signalled when something has changed that somebody sleeps for.
    kxEvent changed_;
    Slots added_;
    std::atomic<bool> hasNews_{false};
    std::atomic<bool> ends_{false};
    std::atomic<std::uint32_t> count_{0};
    Slots slots_;  // of the thread alone
    // Of the thread, for those who remove.
    std::atomic<std::uint32_t> tickingThreadId_{0};
    std::atomic<const kxThreadTicker*> current_{nullptr};
    std::atomic<std::uint32_t> removerCount_{0};  // those who wait for the end of a tick
};

kxThreadPoolTicker::kxThreadPoolTicker(std::uint32_t threadCount)
{
    for (std::uint32_t worker = 0; worker < std::max(threadCount, 1U); ++worker) {
        workers_.push_back(std::make_unique<Worker>(*this));
    }
}

kxThreadPoolTicker::~kxThreadPoolTicker()
{
    for (const std::unique_ptr<Worker>& worker : workers_) worker->end();
    for (const std::unique_ptr<Worker>& worker : workers_) worker->join();
    const kxBodyGuard guard(membersLock());
    for (const std::unique_ptr<Worker>& worker : workers_) worker->removeAll();
}

bool kxThreadPoolTicker::add(kxThreadTicker& ticker)
{
    Worker* worker = nullptr;
    Worker::Slots single;
    single.emplace_back(ticker);
    {
        const kxBodyGuard guard(membersLock());
        if (ticker.slot_ != nullptr) return false;
        const std::uint32_t number = workerFor(ticker);
        worker = workers_[number].get();
        ticker.pool_ = this;
        ticker.worker_ = number;
        worker->add(single);
    }
    const bool isStarted = worker->start(false);
    if (!isStarted) remove(ticker);
    return isStarted;
}

// A ticker that comes back stays with its thread, which may still be in the tick that removed it.
std::uint32_t kxThreadPoolTicker::workerFor(const kxThreadTicker& ticker) const
{
    if (ticker.pool_ == this && ticker.worker_ < workers_.size()) return ticker.worker_;
    const auto least =
        std::min_element(workers_.begin(), workers_.end(),
                         [](const std::unique_ptr<Worker>& left, const std::unique_ptr<Worker>& right) {
                             return left->count() < right->count();
                         });
    return static_cast<std::uint32_t>(least - workers_.begin());
}

void kxThreadPoolTicker::remove(kxThreadTicker& ticker)
{
    Worker* worker = nullptr;
    {
        const kxBodyGuard guard(membersLock());
        if (ticker.pool_ != this || ticker.worker_ >= workers_.size()) return;
        worker = workers_[ticker.worker_].get();
        if (ticker.slot_ != nullptr) worker->remove(*ticker.slot_);
    }
    worker->waitForTick(ticker);
}

std::uint32_t kxThreadPoolTicker::tickerCount() const
{
    std::uint32_t count = 0;
    for (const std::unique_ptr<Worker>& worker : workers_) count += worker->count();
    return count;
}

// The ticker may have been removed, and destroyed, before it threw.
void kxThreadPoolTicker::removeFailed(Worker& worker, kxThreadTicker::Slot& slot, const void* address,
                                      const char* text)
{
    {
        const kxBodyGuard guard(membersLock());
        if (slot.ticker.load() != nullptr) worker.remove(slot);
    }
    kxDropExceptions([&] {
        kxMessage(KX_MESSAGE_FATAL, "kxThreadTicker (%x) removed, its tick threw '%s'", address, text);
    });
}

void kxThreadPoolTicker::removeDestroyed(kxThreadTicker& ticker)
{
    kxThreadPoolTicker* pool = nullptr;
    {
        const kxBodyGuard guard(membersLock());
        if (ticker.slot_ == nullptr) return;
        pool = ticker.pool_;
    }
    const void* const address = &ticker;
    kxMessage(KX_MESSAGE_WARNING, "kxThreadTicker (%x) deleted in its pool", address);
    pool->remove(ticker);
}
