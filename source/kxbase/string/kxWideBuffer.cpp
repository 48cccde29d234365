#include "kxbase/string/kxWideBuffer.h"

#include "kxbase/containers/kxThreadData.h"
#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxForkGuard.h"
#include "kxbase/core/kxUndestroyed.h"
#include "kxbase/string/kxString.h"

#include <new>

namespace {

constexpr std::uint32_t kGrowthUnits = 64;

// Outside the memory check, since the buffers live as long as the process.
using Storage = kxUntrackedStorage;

class Buffer {
public:
    char16_t* withRoom(std::uint32_t units)
    {
        if (units > room_) grow((units + kGrowthUnits - 1) / kGrowthUnits * kGrowthUnits);
        return units_;
    }

private:
    void grow(std::uint32_t room)
    {
        auto* const larger = static_cast<char16_t*>(Storage::allocate(room * sizeof(char16_t)));
        Storage::free(units_);
        units_ = larger;
        room_ = room;
    }

    char16_t* units_ = nullptr;
    std::uint32_t room_ = 0;
};

struct Ring {
    std::array<Buffer, KX_STRING_WIDE_BUFFERS> buffers;
    std::uint32_t position = 0;
    Ring* nextSpare = nullptr;
};

// The rings of threads that have ended. The last one given is the first one taken, so that a thread that still
// converts text after its own objects are gone goes on with its ring.
class SpareRings {
public:
    void give(Ring& ring) noexcept
    {
        const kxBodyGuard guard(mutex_);
        ring.nextSpare = first_;
        first_ = &ring;
    }
    Ring& take()
    {
        {
            const kxBodyGuard guard(mutex_);
            if (first_ != nullptr) return *std::exchange(first_, first_->nextSpare);
        }
        return *::new (Storage::allocate(sizeof(Ring))) Ring;
    }

    void lock() { mutex_.lock(); }
    void unlock() { mutex_.unlock(); }

private:
    kxMutex mutex_;
    Ring* first_ = nullptr;
};

constinit kxUndestroyed<SpareRings> spareRings;

// A thread's ring, from its first use to the thread's end.
class RingOfThread {
public:
    RingOfThread() noexcept = default;
    ~RingOfThread()
    {
        if (ring_ != nullptr) spareRings.value.give(*ring_);
    }
    RingOfThread(const RingOfThread&) = delete;
    RingOfThread& operator=(const RingOfThread&) = delete;

    Ring& ring()
    {
        if (ring_ == nullptr) ring_ = &spareRings.value.take();
        return *ring_;
    }

private:
    Ring* ring_ = nullptr;
};
using RingsOfThreads = kxThreadData<RingOfThread, 1>;

RingsOfThreads& ringsOfThreads()
{
    static kxUndestroyed<RingsOfThreads> rings;
    static const kxForkGuard guard({[] { spareRings.value.lock(); }, [] { spareRings.value.unlock(); }});
    return rings.value;
}

}  // namespace

char16_t* kxNextWideBuffer(std::uint32_t units)
{
    Ring& ring = ringsOfThreads().next().ring();
    char16_t* const buffer = ring.buffers[ring.position].withRoom(units);
    ring.position = (ring.position + 1) % KX_STRING_WIDE_BUFFERS;
    return buffer;
}
