// What waits in a queue of notifications to be delivered.
//
// Units: times are seconds of the process clock.
#pragma once

#include <cstdint>

template <typename T> struct kxPendData {
    T data;
    const void* sender;
    std::int64_t key;   // minus the priority: entries of a smaller key come first
    double dueTime;     // not delivered before; 0 is at once
    double expiryTime;  // not delivered from here on
};
