// A block of bytes that is filled once and read once, as between two endpoints.
//
// Blocks of 4 MB and more are backed by large pages where the system has them. The contents are undefined at
// first.
//
// Ownership: owns its block; freed with the buffer.
// Threads:   a plain value.
// Errors:    a failed allocation is reported and throws std::bad_alloc.
// Units:     bytes.
#pragma once

#include "kxbase/core/kxTrackedMemory.h"

class kxTransferBuffer {
public:
    explicit kxTransferBuffer(std::size_t sizeBytes);
    ~kxTransferBuffer() { kxTrackedFree(block_); }
    kxTransferBuffer(const kxTransferBuffer&) = delete;
    kxTransferBuffer& operator=(const kxTransferBuffer&) = delete;

    std::uint8_t* data() const { return block_; }

private:
    std::uint8_t* block_;
};
