// What the calling thread allocates while such an object lives stays outside the memory check: for what a
// process-wide object keeps, which is never destroyed and would look lost. A recorded block that it frees meanwhile
// is forgotten as elsewhere, but the trace has no line for it.
//
// Threads: concerns the calling thread alone; scopes nest.
#pragma once

#include <cstdint>

class kxUntrackedScope {
public:
    kxUntrackedScope() noexcept { ++depth_; }
    ~kxUntrackedScope() { --depth_; }
    kxUntrackedScope(const kxUntrackedScope&) = delete;
    kxUntrackedScope& operator=(const kxUntrackedScope&) = delete;

    static bool isInside() noexcept { return depth_ != 0; }

private:
    // Trivial, so that it is there until the thread's very end.
    static inline constinit thread_local std::uint32_t depth_ = 0;
};
