// Names of hosts.
//
// Threads: any. Resolving allocates and takes locks of the C library.
#pragma once

#include <cstddef>
#include <cstdint>

// Writes the name of this machine as terminated text; false when it has none, or none that fits.
bool kxPlatformHostName(char* buffer, std::size_t sizeBytes);

// Asks the system for the IPv4 addresses of a host, which may take seconds. Writes at most `capacity` of them, in
// the order of the answer, as numbers in the host's byte order; answers how many, 0 when there are none.
std::uint32_t kxPlatformResolve(const char* name, std::uint32_t* addresses, std::uint32_t capacity);
