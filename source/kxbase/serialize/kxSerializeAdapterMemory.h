// Endpoint over a fixed block of memory, read and written at one position.
//
// Ownership: the block is the caller's and must outlive the adapter. It never grows.
// Threads:   takes no lock; one thread at a time.
// Errors:    going past the end sets the error text and moves what fits; later operations within the block
//            succeed, the text stays.
// Units:     every count is in bytes.
#pragma once

#include "kxbase/serialize/kxSerializeAdapter.h"

class kxSerializeAdapterMemory : public kxSerializeAdapter {
public:
    kxSerializeAdapterMemory(void* block, std::uint32_t sizeBytes);
    const kxType& getType() const override;

    // Makes the adapter empty: size and position become 0, and pushed-back bytes are thrown away.
    std::uint32_t flush() override;
    void writeBlock(const void* bytes, std::uint32_t count) override;
    void writeByte(std::uint8_t byte) override;
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override;
    std::uint8_t readByte() override;
    std::uint32_t getDataLength() override;
    // Moves the position. The target must lie before the end of the block, the end itself excluded. The sum
    // is 32 bits wide and tested first, so that a move far before the beginning wraps and counts as beyond
    // the end. On an error the position stays.
    virtual void move(std::int32_t offset);

private:
    std::uint32_t fitting(std::uint32_t count, const char* errorText);

    std::uint8_t* block_;
    std::uint32_t size_;
    std::uint32_t position_ = 0;  // next byte to read or write
};
