#include "kxbase/core/kxTransferBuffer.h"

#include "kxbase/platform/kxPlatformMemory.h"

namespace {

constexpr std::size_t kLargeBytes = 4 * 1024 * 1024;

}  // namespace

kxTransferBuffer::kxTransferBuffer(std::size_t sizeBytes)
    : block_(static_cast<std::uint8_t*>(kxTrackedAllocate(sizeBytes)))
{
    if (sizeBytes >= kLargeBytes) kxPlatformAdviseLargePages(block_, sizeBytes);
}
