// Endpoint that takes every byte and keeps none, and never has one to deliver.
//
// Threads: holds nothing of its own; reading and writing are safe from any thread.
// Errors:  none; reading a byte gives 0.
#pragma once

#include "kxbase/serialize/kxSerializeAdapter.h"

class kxSerializeAdapterDummy : public kxSerializeAdapter {
public:
    kxSerializeAdapterDummy() = default;

    void writeBlock(const void* bytes, std::uint32_t count) override;
    void writeByte(std::uint8_t byte) override;
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override;
    std::uint8_t readByte() override;
};
