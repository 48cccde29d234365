// Something that has a little work to do again and again, on a thread of a kxThreadPoolTicker.
//
// Ownership: belongs to its maker, who removes it from its pool before destroying it. One that is destroyed in a
//            pool is removed with a Warning, since its tick might have been running.
// Threads:   a ticker is ticked by one thread at a time. See kxThreadPoolTicker.
#pragma once

#include <cstdint>

class kxThreadPoolTicker;

class kxThreadTicker {
public:
    kxThreadTicker() = default;
    virtual ~kxThreadTicker() noexcept(false);
    kxThreadTicker(const kxThreadTicker&) = delete;
    kxThreadTicker& operator=(const kxThreadTicker&) = delete;

    // Does what there is to do now, without waiting for more; answers whether there was anything. Other
    // tickers of the same thread wait meanwhile.
    virtual bool tick() = 0;

private:
    friend class kxThreadPoolTicker;
    struct Slot;

    // Where the ticker is, or was last. Pool and worker outlast the removal, since the tick that removed the ticker
    // may still run: that thread is the one that others who remove it wait for, and that gets it back.
    // Guarded by the lock of all pools' members.
    kxThreadPoolTicker* pool_ = nullptr;  // may dangle once slot_ is null, and is then only compared
    std::uint32_t worker_ = 0;
    Slot* slot_ = nullptr;  // null when it is in no pool
};
