// A ring of items for each thread: results of up to Count calls on one thread stay valid at the same time.
//
// Ownership: owns the rings; a thread's ring goes when the thread ends, or with this object.
// Threads:   next() may be called from any thread; an item belongs to the thread that got it. A forked child may
//            call it too, whatever other threads did at the time, and gets a ring of its own.
// Errors:    a failed allocation is reported and throws std::bad_alloc.
#pragma once

#include "kxbase/containers/kxThreadRecords.h"

#include <array>
#include <new>

template <typename T, std::uint32_t Count> class kxThreadData {
public:
    // The calling thread's next item; after Count calls the first comes again, as it was left.
    T& next()
    {
        Ring& ring = static_cast<Ring&>(records_.record(makeRing));
        T& item = ring.items[ring.position];
        ring.position = (ring.position + 1) % Count;
        return item;
    }
    // Threads that have a ring now.
    std::uint32_t threadCount() const { return records_.count(); }

private:
    static_assert(Count != 0, "a ring has at least one item");

    struct Ring final : kxThreadRecords::Record {
        std::array<T, Count> items{};
        std::uint32_t position = 0;
    };

    static kxThreadRecords::Record* makeRing()
    {
        Ring* const ring = new (std::nothrow) Ring;
        if (ring == nullptr) kxThrowBadAlloc(__FILE__, __LINE__);
        return ring;
    }

    kxThreadRecords records_;
};
