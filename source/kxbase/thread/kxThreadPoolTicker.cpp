#include "kxbase/thread/kxThreadPoolTicker.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/thread/kxEvent.h"
#include "kxbase/thread/kxThread.h"

#include <algorithm>
#include <exception>

#include <cxxabi.h>

namespace {

constexpr std::uint32_t kShortestPauseMilliseconds = 1;
constexpr std::uint32_t kLongestPauseMilliseconds = 10;
// With nothing to tick; a new ticker ends it.
constexpr std::uint32_t kEmptyPauseMilliseconds = 60 * 60 * 1000;

// Which ticker is where, in all pools; taken before the lock of a worker. Never destroyed, since tickers and
// pools may be static.
kxMutex& members()
{
    static kxMutex& mutex = *new kxMutex;
    return mutex;
}

}  // namespace

class kxThreadPoolTicker::Worker : public kxThread {
public:
    explicit Worker(kxThreadPoolTicker& pool) : pool_(pool) {}

    void add(kxThreadTicker& ticker)
    {
        const kxBodyGuard guard(changed_);
        tickers_.push_back(&ticker);
        changed_.signal();
    }

    // Answers whether the ticker was here.
    bool remove(const kxThreadTicker& ticker)
    {
        const kxBodyGuard guard(changed_);
        const auto place = std::find(tickers_.begin(), tickers_.end(), &ticker);
        if (place == tickers_.end()) return false;
        if (place - tickers_.begin() < static_cast<std::ptrdiff_t>(next_)) --next_;
        tickers_.erase(place);
        return true;
    }

    // Takes any ticker out; null when there is none.
    kxThreadTicker* takeAny()
    {
        const kxBodyGuard guard(changed_);
        if (tickers_.empty()) return nullptr;
        kxThreadTicker* const ticker = tickers_.back();
        tickers_.pop_back();
        next_ = std::min(next_, tickers_.size());
        return ticker;
    }

    void waitForTick(const kxThreadTicker& ticker)
    {
        changed_.lock();
        ++removerCount_;
        while (current_ == &ticker && thread_ != kxPlatformThreadId()) {
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
        changed_.signal();
    }

    std::uint32_t count() const
    {
        const kxBodyGuard guard(changed_);
        return static_cast<std::uint32_t>(tickers_.size());
    }

private:
    void process() override
    {
        changed_.lock();
        thread_ = kxPlatformThreadId();
        std::uint32_t pause = kShortestPauseMilliseconds;
        while (!ends_) {
            if (goRound()) {
                pause = kShortestPauseMilliseconds;
                continue;
            }
            if (ends_) break;
            const bool isWoken = changed_.wait(tickers_.empty() ? kEmptyPauseMilliseconds : pause, true);
            changed_.lock();
            pause = isWoken ? kShortestPauseMilliseconds : std::min(pause * 2, kLongestPauseMilliseconds);
        }
        changed_.unlock();
    }

    // The caller holds the lock, which is given up during each tick. A ticker may destroy itself in its tick.
    bool goRound()
    {
        bool hasWorked = false;
        for (next_ = 0; next_ < tickers_.size() && !ends_;) {
            kxThreadTicker& ticker = *tickers_[next_++];
            current_ = &ticker;
            changed_.unlock();
            hasWorked |= tick(ticker);
            changed_.lock();
            current_ = nullptr;
            if (removerCount_ != 0) changed_.signal();
        }
        return hasWorked;
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
    // Guards the fields below, and is signalled when one of them has changed that somebody sleeps for.
    mutable kxEvent changed_;
    std::vector<kxThreadTicker*> tickers_;
    std::size_t next_ = 0;  // the ticker to come in this round
    const kxThreadTicker* current_ = nullptr;
    std::uint32_t thread_ = 0;
    std::uint32_t removerCount_ = 0;  // those who wait for the end of a tick
    bool ends_ = false;
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
    const kxBodyGuard guard(members());
    if (ticker.isInPool_) return false;
    const std::uint32_t worker = workerFor(ticker);
    if (!workers_[worker]->start(false)) return false;
    workers_[worker]->add(ticker);
    ticker.pool_ = this;
    ticker.worker_ = worker;
    ticker.isInPool_ = true;
    return true;
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
