// An object in static storage that is never destroyed, so that it can be used until the very end of the process.
//
// Ownership: holds the object itself; nothing is allocated for it.
// Threads:   as the object. Made where it stands: constant-initialised with constinit, or on first use as a
//            static of a function.
#pragma once

template <typename T> union kxUndestroyed {
    constexpr kxUndestroyed() : value() {}
    ~kxUndestroyed() {}
    kxUndestroyed(const kxUndestroyed&) = delete;
    kxUndestroyed& operator=(const kxUndestroyed&) = delete;

    T value;
};
