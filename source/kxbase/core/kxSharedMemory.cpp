#include "kxbase/core/kxSharedMemory.h"

#include <memory>

namespace {

// In front of each aligned block; says what is to be freed.
struct Origin {
    void* block;
};

}  // namespace

void* kxSharedMemory::operator new(std::size_t sizeBytes, std::align_val_t alignment)
{
    const auto alignmentBytes = static_cast<std::size_t>(alignment);
    std::size_t room = sizeBytes + alignmentBytes;
    void* const block = kxTrackedAllocate(sizeof(Origin) + room);
    void* place = static_cast<Origin*>(block) + 1;
    std::align(alignmentBytes, sizeBytes, place, room);
    ::new (static_cast<Origin*>(place) - 1) Origin{block};
    return place;
}

void kxSharedMemory::operator delete(void* block, std::align_val_t) noexcept
{
    if (block != nullptr) kxTrackedFree((static_cast<Origin*>(block) - 1)->block);
}
