// Something that one thread does once in a process, while others wait a while for it. In the child of a fork it is
// done anew when a thread that is not there was about it.
//
// Threads: any. No lock is held while it is done. A thread that is about one such thing neither begins another one nor
//          waits for it, so that nothing waits for itself.
#pragma once

#include <atomic>
#include <cstdint>

class kxProcessOnce {
public:
    constexpr kxProcessOnce() noexcept = default;
    kxProcessOnce(const kxProcessOnce&) = delete;
    kxProcessOnce& operator=(const kxProcessOnce&) = delete;

    // Calls the function if nobody has; it is done then even if it throws. If another thread is about it, waits up to a
    // second for that; after such a wait in vain nobody waits any more.
    template <typename Function> void run(const Function& function)
    {
        if (progress_.load(std::memory_order_acquire) == DONE) return;
        if (!tryBegin()) return waitForEnd();
        const Ending ending{*this};
        function();
    }

private:
    enum Progress : std::uint32_t { NOT_BEGUN, BEGUN, DONE };
    struct Ending {
        kxProcessOnce& once;
        ~Ending() { once.end(); }
    };

    bool tryBegin();
    void waitForEnd();
    void end();

    std::atomic<std::uint32_t> progress_{NOT_BEGUN};
    std::atomic<bool> isSlow_{false};  // others do not wait any more
    std::uint32_t forksBefore_ = 0;    // that led to the process that began; under a mutex of the process
};
