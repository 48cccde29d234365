// Endpoint that takes every byte and keeps none, and never has one to deliver.
//
// Idle: asked for its length in a loop, such as a relay's, it waits a millisecond each time once it has been asked
// 100 times with nothing written between.
//
// Threads: reading and writing are safe from any thread.
// Errors:  none; reading a byte gives 0.
#pragma once

#include "kxbase/serialize/kxSerializeAdapter.h"

#include <atomic>

class kxSerializeAdapterDummy : public kxSerializeAdapter {
public:
    kxSerializeAdapterDummy() = default;

    void writeBlock(const void* bytes, std::uint32_t count) override;
    void writeByte(std::uint8_t byte) override;
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override;
    std::uint8_t readByte() override;
    std::uint32_t getDataLength() override;

private:
    std::atomic<std::uint32_t> idleLooks_{0};
};
