// The bytes between a file and its adapter: written and not yet flushed, or read ahead and not yet taken.
//
// First in, first out, in one block of storage that system calls fill and empty in place.
//
// Ownership: owns its storage.
// Threads:   takes no lock; one thread at a time.
// Errors:    taking more than length() holds is a programming error, not checked.
// Units:     counts are in bytes.
#pragma once

#include "kxbase/containers/kxArray.h"

class kxFileQueue {
public:
    std::uint32_t length() const { return end_ - begin_; }
    bool isEmpty() const { return begin_ == end_; }
    const std::uint8_t* data() const { return storage_.data() + begin_; }

    // Room behind the last byte for `count` more; commit() makes the bytes put there part of the queue.
    std::uint8_t* room(std::uint32_t count);
    void commit(std::uint32_t count) { end_ += count; }

    void append(std::uint8_t byte)
    {
        // An empty queue starts again at the beginning of its storage, which room() sees to.
        if (begin_ != end_ && end_ != storage_.size())
            storage_.data()[end_++] = byte;
        else
            append(&byte, 1);
    }
    void append(const std::uint8_t* bytes, std::uint32_t count);
    std::uint8_t takeByte() { return storage_.data()[begin_++]; }
    // Takes up to `count` bytes from the front; answers how many.
    std::uint32_t take(std::uint8_t* bytes, std::uint32_t count);
    void drop(std::uint32_t count) { begin_ += count; }

private:
    kxArray<std::uint8_t> storage_;
    std::uint32_t begin_ = 0;
    std::uint32_t end_ = 0;
};
