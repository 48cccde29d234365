#include "kxbase/thread/kxThreadPoolTicker.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/thread/kxEvent.h"
#include "kxbase/thread/kxThread.h"

#include <algorithm>
#include <atomic>
#include <exception>

#include <cxxabi.h>

namespace {

constexpr std::uint32_t kShortestPauseMilliseconds = 1;
constexpr std::uint32_t kLongestPauseMilliseconds = 10;
// With nothing to tick; a new ticker ends it.
constexpr std::uint32_t kEmptyPauseMilliseconds = 60 * 60 * 1000;

// Which ticker is where, in all pools; taken before the lock of a worker.
kxMutex& members()
{
    return kxProcessMutex<struct kxTickerMembers>();
}

}  // namespace

// One thread and its tickers. The thread goes round a copy of the list, so that it takes no lock for a tick: it
// says which ticker comes, and then looks whether the list has changed. A ticker that was removed before is seen
// to have gone; who removes it after finds it current, and waits.
class kxThreadPoolTicker::Worker : public kxThread {
public:
    explicit Worker(kxThreadPoolTicker& pool) : pool_(pool) {}

    void add(kxThreadTicker& ticker)
    {
        const kxBodyGuard guard(changed_);
        tickers_.push_back(&ticker);
        noteChange();
    }

    // Answers whether the ticker was here.
    bool remove(const kxThreadTicker& ticker)
    {
        const kxBodyGuard guard(changed_);
        const auto place = std::find(tickers_.begin(), tickers_.end(), &ticker);
        if (place == tickers_.end()) return false;
        tickers_.erase(place);
        noteChange();
        return true;
    }

    // Takes any ticker out; null when there is none.
    kxThreadTicker* takeAny()
    {
        const kxBodyGuard guard(changed_);
        if (tickers_.empty()) return nullptr;
        kxThreadTicker* const ticker = tickers_.back();
        tickers_.pop_back();
        noteChange();
        return ticker;
    }

    void waitForTick(const kxThreadTicker& ticker)
    {
        const auto isInTick = [&] {
            return current_.load() == &ticker && thread_.load() != kxPlatformThreadId();
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
        noteChange();
    }

    std::uint32_t count() const
    {
        const kxBodyGuard guard(changed_);
        return static_cast<std::uint32_t>(tickers_.size());
    }

private:
    void noteChange()
    {
        ++changeCount_;
        changed_.signal();
    }

    void process() override
    {
        thread_ = kxPlatformThreadId();
        std::uint32_t pause = kShortestPauseMilliseconds;
        while (true) {
            if (copiedAt_ != changeCount_.load()) {
                if (!copyTickers()) return;
                pause = kShortestPauseMilliseconds;
            }
            if (goRound()) {
                pause = kShortestPauseMilliseconds;
            } else {
                rest(pause);
                pause = std::min(pause * 2, kLongestPauseMilliseconds);
            }
        }
    }

    // Answers whether the thread is to go on.
    bool copyTickers()
    {
        const kxBodyGuard guard(changed_);
        round_ = tickers_;
        copiedAt_ = seenAt_ = changeCount_;
        return !ends_;
    }

    // Answers whether any ticker had something to do. A ticker may destroy itself in its tick.
    bool goRound()
    {
        bool hasWorked = false;
        for (std::size_t next = 0; next < round_.size();) {
            announce(round_[next]);
            if (changeCount_.load() != seenAt_) {
                announce(nullptr);
                dropRemoved(next);
            } else {
                hasWorked |= tick(*round_[next++]);
            }
        }
        announce(nullptr);
        return hasWorked;
    }

    void announce(const kxThreadTicker* ticker)
    {
        current_.store(ticker);
        if (removerCount_.load() == 0) return;
        const kxBodyGuard guard(changed_);
        changed_.signal();
    }

    // Those added meanwhile come in the next round.
    void dropRemoved(std::size_t next)
    {
        const kxBodyGuard guard(changed_);
        const auto isRemoved = [&](kxThreadTicker* ticker) {
            return ends_ || std::find(tickers_.begin(), tickers_.end(), ticker) == tickers_.end();
        };
        const auto begin = round_.begin() + static_cast<std::ptrdiff_t>(next);
        round_.erase(std::remove_if(begin, round_.end(), isRemoved), round_.end());
        seenAt_ = changeCount_;
    }

    void rest(std::uint32_t milliseconds)
    {
        changed_.lock();
        if (copiedAt_ == changeCount_) {
            changed_.wait(tickers_.empty() ? kEmptyPauseMilliseconds : milliseconds, true);
        } else {
            changed_.unlock();
        }
    }

    bool tick(kxThreadTicker& ticker)
    {
        try {
            return ticker.tick();
        } catch (const std::exception& error) {
            pool_.removeFailed(*this, ticker, error.what());
        } catch (const abi::__forced_unwind&) {
            throw;
        } catch (...) {
            pool_.removeFailed(*this, ticker, "unknown exception");
        }
        return true;
    }

    kxThreadPoolTicker& pool_;
    // Guards the list, and is signalled when something has changed that somebody sleeps for.
    mutable kxEvent changed_;
    std::vector<kxThreadTicker*> tickers_;
    std::atomic<std::uint64_t> changeCount_{0};
    bool ends_ = false;
    // Of the thread alone: the tickers of this round, and the counts of changes at which the list was copied and
    // at which it was last compared with the copy.
    std::vector<kxThreadTicker*> round_;
    std::uint64_t copiedAt_ = 0;
    std::uint64_t seenAt_ = 0;
    // Of the thread, for those who remove.
    std::atomic<std::uint32_t> thread_{0};
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
    const kxBodyGuard guard(members());
    for (const std::unique_ptr<Worker>& worker : workers_) {
        while (kxThreadTicker* const ticker = worker->takeAny()) ticker->isInPool_ = false;
    }
}

bool kxThreadPoolTicker::add(kxThreadTicker& ticker)
{
    Worker* worker = nullptr;
    {
        const kxBodyGuard guard(members());
        if (ticker.isInPool_) return false;
        const std::uint32_t number = workerFor(ticker);
        worker = workers_[number].get();
        worker->add(ticker);
        ticker.pool_ = this;
        ticker.worker_ = number;
        ticker.isInPool_ = true;
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
        const kxBodyGuard guard(members());
        if (ticker.pool_ != this || ticker.worker_ >= workers_.size()) return;
        worker = workers_[ticker.worker_].get();
        if (worker->remove(ticker)) ticker.isInPool_ = false;
    }
    worker->waitForTick(ticker);
}

std::uint32_t kxThreadPoolTicker::tickerCount() const
{
    std::uint32_t count = 0;
    for (const std::unique_ptr<Worker>& worker : workers_) count += worker->count();
    return count;
}

// The ticker may have destroyed itself before it threw; then it is not in the pool.
void kxThreadPoolTicker::removeFailed(Worker& worker, kxThreadTicker& ticker, const char* text)
{
    const void* const address = &ticker;
    {
        const kxBodyGuard guard(members());
        if (worker.remove(ticker)) ticker.isInPool_ = false;
    }
    try {
        kxMessage(KX_MESSAGE_FATAL, "kxThreadTicker (%x) removed, its tick threw '%s'", address, text);
    } catch (const std::exception&) {
        // There is nobody left to tell.
    }
}

void kxThreadPoolTicker::forget(kxThreadTicker& ticker)
{
    kxThreadPoolTicker* pool = nullptr;
    {
        const kxBodyGuard guard(members());
        if (!ticker.isInPool_) return;
        pool = ticker.pool_;
    }
    const void* const address = &ticker;
    kxMessage(KX_MESSAGE_WARNING, "kxThreadTicker (%x) deleted in its pool", address);
    pool->remove(ticker);
}
