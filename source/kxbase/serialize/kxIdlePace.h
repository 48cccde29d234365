// Decides when a caller that looks for input again and again is made to wait a little.
//
// A relay asks its endpoints for their length in a loop that never sleeps. The first looks that find nothing
// are free, so that an answer is never late while data flows; after them each look may wait a millisecond, so
// that an idle loop leaves the processor alone.
//
// Threads: a plain value; one thread at a time.
#pragma once

#include <cstdint>

class kxIdlePace {
public:
    explicit kxIdlePace(std::uint32_t freeLooks = 100) : freeLooks_(freeLooks) {}

    // Milliseconds that the look about to be made may wait for input.
    std::uint32_t waitMilliseconds() const { return idleLooks_ < freeLooks_ ? 0 : 1; }
    // The last look found nothing.
    void foundNothing()
    {
        if (idleLooks_ < freeLooks_) ++idleLooks_;
    }
    // Data moved, in whichever direction.
    void moved() { idleLooks_ = 0; }

private:
    std::uint32_t freeLooks_;
    std::uint32_t idleLooks_ = 0;
};
