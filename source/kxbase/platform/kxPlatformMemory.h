// Blocks of memory as the system sees them.
//
// Threads: any, also before main and after it.
#pragma once

#include <cstddef>
#include <cstdint>

// Tells the system that a large block will be used from end to end, so that it is backed by large pages.
// Only a hint: nothing changes where the system has no large pages.
void kxPlatformAdviseLargePages(void* block, std::size_t sizeBytes);

// Whether every byte of a block lies in memory that the process has; what may be done with it is not looked at.
bool kxPlatformIsMapped(std::uint64_t address, std::uint64_t sizeBytes);
