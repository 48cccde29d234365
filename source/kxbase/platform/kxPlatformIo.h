// Results of input and output in the library's terms.
//
// Threads: any. kxPlatformErrorText allocates, and throws std::bad_alloc when there is no memory.
#pragma once

#include <cstddef>
#include <cstdint>

// What the system said of a failure; 0 is no failure. Only kxPlatformErrorText can tell the others apart.
using kxPlatformError = std::int32_t;
// The failure that the system reports for a value that it cannot take.
extern const kxPlatformError KX_PLATFORM_INVALID_ARGUMENT;

// Writes the system's description of a failure as terminated text, cut to the buffer.
void kxPlatformErrorText(kxPlatformError error, char* buffer, std::size_t sizeBytes);

// Bytes moved. A read that fails gives -1, a write that fails the bytes written before; then `error` is set.
struct kxPlatformIoResult {
    std::int64_t count;
    kxPlatformError error;
};
