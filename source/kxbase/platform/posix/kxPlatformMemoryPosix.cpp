#include "kxbase/platform/kxPlatformMemory.h"

#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

void kxPlatformAdviseLargePages(void* block, std::size_t sizeBytes)
{
    static const std::uintptr_t pageBytes = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(block);
    const std::uintptr_t firstPage = (begin + pageBytes - 1) / pageBytes * pageBytes;
    const std::uintptr_t endPage = (begin + sizeBytes) / pageBytes * pageBytes;
    if (endPage <= firstPage) return;
#ifdef MADV_HUGEPAGE
    ::madvise(reinterpret_cast<void*>(firstPage), endPage - firstPage, MADV_HUGEPAGE);
#endif
}
