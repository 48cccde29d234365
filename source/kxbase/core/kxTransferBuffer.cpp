#include "kxbase/core/kxTransferBuffer.h"

#include "kxbase/platform/kxPlatformMemory.h"

namespace {

// Blocks of these sizes come and go turn by turn, in memory that stays at hand. Beyond them a block is most
// likely used once, and where a host lends memory page by page, fresh large pages cost twice what small ones do.
constexpr std::size_t kSmallestAdvised = 4 * 1024 * 1024;
constexpr std::size_t kLargestAdvised = 64 * 1024 * 1024;

}  // namespace

kxTransferBuffer::kxTransferBuffer(std::size_t sizeBytes)
    : block_(static_cast<std::uint8_t*>(kxTrackedAllocate(sizeBytes)))
{
    if (sizeBytes >= kSmallestAdvised && sizeBytes <= kLargestAdvised) {
        kxPlatformAdviseLargePages(block_, sizeBytes);
    }
}
