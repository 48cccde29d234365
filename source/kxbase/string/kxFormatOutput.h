// The text that formatting collects: UTF-8 in a buffer on the stack that moves to the heap when it is full.
//
// Ownership: owns what it collected.
// Threads:   one thread at a time.
// Errors:    a failed allocation is reported and throws std::bad_alloc. More than a kxString holds is not
//            kept, so that no format can ask for memory without end.
// Units:     bytes.
#pragma once

#include "kxbase/string/kxString.h"

#include <cstddef>
#include <cstring>
#include <string_view>

class kxFormatOutput {
public:
    kxFormatOutput() noexcept : data_(stack_) {}
    ~kxFormatOutput();
    kxFormatOutput(const kxFormatOutput&) = delete;
    kxFormatOutput& operator=(const kxFormatOutput&) = delete;

    void append(std::string_view text)
    {
        const std::size_t count = text.size() <= capacity_ - size_ ? text.size() : makeRoom(text.size());
        if (count != 0) std::memcpy(data_ + size_, text.data(), count);
        size_ += count;
    }
    void append(std::size_t count, char character)
    {
        if (count != 0) fill(makeRoom(count), character);
    }
    // UTF-16, which is written as UTF-8.
    void appendWide(std::u16string_view text);

    // Nothing more is kept, so that what would be appended need not be made.
    bool isFull() const noexcept { return size_ > KX_STRING_MAX_LENGTH; }

    // Everything collected, up to a few bytes more than a kxString holds.
    std::string_view text() const noexcept { return {data_, size_}; }
    // What a kxString holds of it; cut, if at all, at the last whole character.
    std::string_view stringText() const noexcept;

private:
    // Room for `count` more bytes or as many as are kept; answers how many.
    std::size_t makeRoom(std::size_t count);
    void grow(std::size_t size);
    void fill(std::size_t count, char character) noexcept;

    static constexpr std::size_t kStackBytes = 512;

    char* data_;
    std::size_t size_ = 0;
    std::size_t capacity_ = kStackBytes;
    char stack_[kStackBytes];
};
