// One datagram, or one chunk of a stream, as it was received: the sender's address and the bytes.
//
// A received record keeps its room when it is filled anew, so that a few of them serve any number of datagrams.
//
// Ownership: owns its bytes.
// Threads:   takes no lock; one thread at a time.
// Errors:    committing more than was prepared is a programming error, not checked.
// Units:     counts are in bytes.
#pragma once

#include "kxbase/containers/kxItemBlock.h"
#include "kxbase/net/kxSocketAddress.h"
#include "kxbase/object/kxReference.h"

class kxNetData : public kxReference {
public:
    const kxType& getType() const override;

    // Empty where the system tells none, as for streams.
    kxSocketAddress sender;

    // Forgets the bytes and gives room for at least so many new ones, of which commit() tells how many came.
    std::uint8_t* prepare(std::uint32_t sizeBytes);
    void commit(std::uint32_t count) { end_ = count; }
    std::uint32_t capacity() const { return block_.capacity(); }

    // The bytes that have not been taken.
    const std::uint8_t* data() const { return block_.data() + begin_; }
    std::uint32_t length() const { return end_ - begin_; }
    // Takes up to `count` bytes from the front; answers how many.
    std::uint32_t take(std::uint8_t* bytes, std::uint32_t count);

private:
    kxItemBlock<std::uint8_t> block_;
    std::uint32_t begin_ = 0;
    std::uint32_t end_ = 0;
};
