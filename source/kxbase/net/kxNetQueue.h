// The records that an adapter has received and nobody has read yet, first in, first out, read as one stream of
// bytes; and spare records, so that receiving allocates nothing once it runs.
//
// Ownership: owns its records. One that somebody else holds when it has been read is left to them.
// Threads:   takes no lock; its adapter does.
// Units:     counts are in bytes.
#pragma once

#include "kxbase/containers/kxRefList.h"
#include "kxbase/net/kxNetData.h"

class kxNetQueue {
public:
    kxNetQueue();

    // A record to be filled: then it is appended, or given back.
    kxRefPointer<kxNetData> newRecord();
    void append(const kxRefPointer<kxNetData>& record);
    void giveBack(const kxRefPointer<kxNetData>& record);

    // Throws all unread bytes away.
    void clear();

    // Unread bytes of the record that is being read.
    std::uint32_t currentLength() const { return current_ ? current_->length() : 0; }
    // When nothing of it is left, takes the next record as the one being read. Answers whether it has bytes.
    bool loadNext();
    // Whether so much is waiting that nothing more is to be received until some of it has been read.
    bool isFull() const;
    // All unread bytes; at most 4294967295.
    std::uint32_t length() const;
    bool isEmpty() const { return currentLength() == 0 && queuedBytes_ == 0; }
    // Takes up to `count` bytes, across records; answers how many.
    std::uint32_t take(std::uint8_t* bytes, std::uint32_t count);

private:
    kxRefList<kxNetData> records_;
    std::uint64_t queuedBytes_ = 0;
    kxRefPointer<kxNetData> current_;
    kxRefList<kxNetData> spares_;
    std::uint64_t spareBytes_ = 0;
};
