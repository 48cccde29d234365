// Endpoint with both ends in memory: one side writes, the other reads what was written.
//
// Ownership: owns its storage, which grows by whole growth steps and never shrinks. A queue that has been read
//            empty starts again at its beginning; one that never runs empty keeps the places of the bytes read.
// Threads:   takes no lock; one thread at a time.
// Errors:    readByte() on an empty queue is fatal: ask length() first. Growing beyond 4294967295 bytes reports
//            "Bad Alloc:" and throws std::bad_alloc.
// Units:     every count is in bytes; a growth step of 0 is taken as 1.
//
// Bytes that have been read are wiped in the storage: they may be secrets.
#pragma once

#include "kxbase/serialize/kxSerializeAdapter.h"

class kxSerializeAdapterQueue : public kxSerializeAdapter {
public:
    kxSerializeAdapterQueue(kxQueueOrder order, std::uint32_t growthStep);
    const kxType& getType() const override;

    void writeBlock(const void* bytes, std::uint32_t count) override;
    void writeByte(std::uint8_t byte) override;
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override;
    std::uint8_t readByte() override;
    std::uint32_t getDataLength() override;

private:
    kxQueue<std::uint8_t, KX_QUEUE_WIPE_TAKEN> queue_;
};
