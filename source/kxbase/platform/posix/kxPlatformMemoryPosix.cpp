#include "kxbase/platform/kxPlatformMemory.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include <sys/mman.h>
#include <unistd.h>

namespace {

std::uintptr_t sizeOfPage()
{
    static const std::uintptr_t pageBytes = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    return pageBytes;
}

}  // namespace

void kxPlatformAdviseLargePages(void* block, std::size_t sizeBytes)
{
    const std::uintptr_t pageBytes = sizeOfPage();
    const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t firstPage = (begin + pageBytes - 1) / pageBytes * pageBytes;
    const std::uintptr_t endPage = (begin + sizeBytes) / pageBytes * pageBytes;
    if (endPage <= firstPage) return;
#ifdef MADV_HUGEPAGE
    ::madvise(reinterpret_cast<void*>(firstPage), endPage - firstPage, MADV_HUGEPAGE);
#endif
}

bool kxPlatformIsMapped(std::uint64_t address, std::uint64_t sizeBytes)
{
    if (sizeBytes == 0) return true;
    if (sizeBytes > std::numeric_limits<std::uintptr_t>::max() - address) return false;
    constexpr std::uint64_t kPagesAtOnce = 1024;
    unsigned char residency[kPagesAtOnce];
    const std::uint64_t pageBytes = sizeOfPage();
    const std::uint64_t lastPage = (address + sizeBytes - 1) / pageBytes;
    for (std::uint64_t page = address / pageBytes; page <= lastPage; page += kPagesAtOnce) {
        const std::uint64_t pages = std::min(kPagesAtOnce, lastPage - page + 1);
        auto* const begin = reinterpret_cast<void*>(static_cast<std::uintptr_t>(page * pageBytes));
        if (::mincore(begin, pages * pageBytes, residency) != 0) return false;
    }
    return true;
}
