// The reading side of a stream whose length nobody knows: a pipe, a device, a terminal, standard input.
//
// Looking tells how much a read delivers at once. Where the system cannot count, a block is read ahead, which
// also is how the end is noticed. Standard input that is a file ends where that file ended at the first look,
// so that a relay which appends to it ends as well.
//
// Ownership: refers to the handle, which belongs to the adapter.
// Threads:   takes no lock; one thread at a time.
// Errors:    a failed read ends the stream; error() says why.
// Units:     counts are in bytes, waits in milliseconds.
#pragma once

#include "kxbase/platform/kxPlatformFile.h"
#include "kxbase/serialize/kxFileQueue.h"
#include "kxbase/serialize/kxIdlePace.h"

class kxStreamInput {
public:
    static constexpr std::uint32_t kReadAheadBytes = 65536;

    explicit kxStreamInput(kxPlatformFileHandle source) : source_(source) {}

    // Bytes that can be read without waiting. Asked in a loop, it waits a little when nothing comes.
    std::uint32_t length();
    // The same, waiting up to the given time for the first byte.
    std::uint32_t look(std::uint32_t waitMilliseconds);
    // What a look that finds nothing costs in time, where the stream itself must not be asked.
    void passIdleLook();
    // Data moved the other way: the next looks are free again.
    void dataMoved() { pace_.moved(); }

    // Takes bytes while any are ready, up to `count`.
    std::uint32_t readReady(std::uint8_t* bytes, std::uint32_t count);
    // Takes what is ready, up to `count` bytes; waits when nothing is. 0 means that the stream has ended.
    std::uint32_t read(std::uint8_t* bytes, std::uint32_t count);
    // Bytes asked for when the system cannot say how many are ready.
    void setReadAhead(std::uint32_t bytes) { readAheadBytes_ = bytes; }

    bool hasEnded() const { return hasEnded_; }
    // Why the stream ended; 0 when there simply was no more.
    kxPlatformError error() const { return error_; }

private:
    std::uint32_t lookAtSource(std::uint32_t waitMilliseconds);
    std::uint32_t readSource(std::uint8_t* bytes, std::uint32_t count);

    kxPlatformFileHandle source_;
    std::uint32_t readAheadBytes_ = kReadAheadBytes;
    kxFileQueue ahead_;
    bool leftIsKnown_ = false;  // bytesLeft_ was asked for
    std::uint64_t bytesLeft_ = KX_PLATFORM_UNKNOWN_SIZE;
    kxIdlePace pace_;
    bool hasEnded_ = false;
    kxPlatformError error_ = 0;
};
