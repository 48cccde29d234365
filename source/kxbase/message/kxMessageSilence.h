// While such an object lives, the messages that the calling thread sends go nowhere, those of the memory check too.
//
// Threads: concerns the calling thread alone; silences nest.
#pragma once

#include <cstdint>

class kxMessageSilence {
public:
    kxMessageSilence() noexcept { ++depth_; }
    ~kxMessageSilence() { --depth_; }
    kxMessageSilence(const kxMessageSilence&) = delete;
    kxMessageSilence& operator=(const kxMessageSilence&) = delete;

    static bool isInside() noexcept { return depth_ != 0; }

private:
    // Trivial, so that it is there until the thread's very end.
    static inline constinit thread_local std::uint32_t depth_ = 0;
};
