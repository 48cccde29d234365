// Files and other byte streams that have a name or a descriptor.
//
// Ownership: a handle is the caller's until it is closed; those of the console are never closed.
// Threads:   any, also before main and after it. One handle may be used by several threads, closing excepted; what they
//            write at the same time may mix. Opening, writing and closing are safe in a handler of faults.
// Errors:    the system's, for kxPlatformErrorText; each function says where they are found.
//
// Calls that a signal interrupts are repeated. Opened handles are not inherited by child processes and are
// never those of the standard streams. Offsets and sizes are 64 bits wide.
#pragma once

#include "kxbase/platform/kxPlatformIo.h"
#include "kxbase/platform/kxPlatformWait.h"

using kxPlatformFileHandle = std::intptr_t;
constexpr kxPlatformFileHandle KX_PLATFORM_NO_FILE = -1;

struct kxPlatformFileOpened {
    kxPlatformFileHandle file;  // KX_PLATFORM_NO_FILE on failure, with `error` set
    kxPlatformError error;
    std::uint64_t sizeBytes;
    // The size tells how much a reader gets. False for pipes, devices and files that the system makes up.
    bool hasSize;
};

// What a reader finds without waiting.
enum kxPlatformReadiness : std::uint8_t {
    KX_PLATFORM_NOTHING_READY,
    KX_PLATFORM_BYTES_READY,   // `count` of them
    KX_PLATFORM_READ_TO_KNOW,  // a read returns at once, with data, the end or an error
};
struct kxPlatformReady {
    kxPlatformReadiness readiness;
    std::uint32_t count;
};

enum kxPlatformWriteMode : std::uint8_t { KX_PLATFORM_TRUNCATE, KX_PLATFORM_APPEND };

// Whether the path names a pipe, a device or something else that is neither a file nor a directory: opening or reading
// that may wait without end.
bool kxPlatformFileIsSpecial(const char* path);
// A directory is refused.
kxPlatformFileOpened kxPlatformFileOpenRead(const char* path);
// Makes the file when there is none. Every write goes to the end of the file as it then is.
kxPlatformFileOpened kxPlatformFileOpenWrite(const char* path, kxPlatformWriteMode mode);

// Bytes between the position of a file that has a size and its end; KX_PLATFORM_UNKNOWN_SIZE for a stream.
constexpr std::uint64_t KX_PLATFORM_UNKNOWN_SIZE = ~std::uint64_t{0};
std::uint64_t kxPlatformFileBytesLeft(kxPlatformFileHandle file);
// One read of at most `sizeBytes`; 0 bytes is the end. Waits when nothing is there.
kxPlatformIoResult kxPlatformFileRead(kxPlatformFileHandle file, void* bytes, std::size_t sizeBytes);
// Writes until everything is written or a failure stops it; then `count` is what was written and `error`
// says why it stopped.
kxPlatformIoResult kxPlatformFileWrite(kxPlatformFileHandle file, const void* bytes, std::size_t sizeBytes);
// Adds all of the bytes to a file that was opened for appending, or none: what a failure has left of them is taken
// back, unless somebody else has added to the file meanwhile. Answers why not; 0 when they are written.
kxPlatformError kxPlatformFileWriteWhole(kxPlatformFileHandle file, const void* bytes, std::size_t sizeBytes);
// Looks for input, waiting at most the given time or KX_PLATFORM_WAIT_FOREVER for the first byte.
kxPlatformReady kxPlatformFileLook(kxPlatformFileHandle file, std::uint32_t waitMilliseconds);
// Some systems report a failed write only here.
kxPlatformError kxPlatformFileClose(kxPlatformFileHandle file);
