// Hints on blocks of memory.
#pragma once

#include <cstddef>

// Tells the system that a large block will be used from end to end, so that it is backed by large pages.
// Only a hint: nothing changes where the system has no large pages.
void kxPlatformAdviseLargePages(void* block, std::size_t sizeBytes);
