#include "kxbase/core/kxTransferBuffer.h"

#include "kxbase/platform/kxPlatformMemory.h"

namespace {

// Filling fresh small pages costs more than the copy into them: 0.66 s against 0.40 s for a gigabyte.
constexpr std::size_t kSmallestAdvisedBytes = 4 * 1024 * 1024;

}  // namespace

kxTransferBuffer::kxTransferBuffer(std::size_t sizeBytes)
    : block_(static_cast<std::uint8_t*>(kxTrackedAllocate(sizeBytes)))
{
    if (sizeBytes >= kSmallestAdvisedBytes) kxPlatformAdviseLargePages(block_, sizeBytes);
}
