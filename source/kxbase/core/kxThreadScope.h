// Counts, for the calling thread, how many objects of the derived class live. One counter for each class.
//
// Threads: concerns the calling thread alone; an object is destroyed on the thread that has made it.
#pragma once

#include <cstdint>

template <typename Derived> class kxThreadScope {
public:
    kxThreadScope(const kxThreadScope&) = delete;
    kxThreadScope& operator=(const kxThreadScope&) = delete;

    static bool isInside() noexcept { return depth_ != 0; }

protected:
    kxThreadScope() noexcept { ++depth_; }
    ~kxThreadScope() { --depth_; }

    static std::uint32_t depth() noexcept { return depth_; }

private:
    // Trivial, so that it is there until the thread's very end.
    static inline constinit thread_local std::uint32_t depth_ = 0;
};
