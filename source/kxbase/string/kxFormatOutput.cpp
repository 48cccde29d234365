#include "kxbase/string/kxFormatOutput.h"

#include "kxbase/core/kxTrackedMemory.h"
#include "kxbase/string/kxUtf.h"

#include <algorithm>

namespace {

// The bytes beyond the length of a string tell that the text was longer and where its last character ends.
constexpr std::size_t kLimit = KX_STRING_MAX_LENGTH + KX_UTF_MAX_BYTES;
constexpr std::size_t kWideChunk = 128;
constexpr std::size_t kBytesPerUnit = 3;

bool splitsPair(std::u16string_view text, std::size_t at) noexcept
{
    return at < text.size() && kxIsHighSurrogate(text[at - 1]);
}

}  // namespace

kxFormatOutput::~kxFormatOutput()
{
    if (data_ != stack_) kxTrackedFree(data_);
}

void kxFormatOutput::fill(std::size_t count, char character) noexcept
{
    std::memset(data_ + size_, character, count);
    size_ += count;
}

void kxFormatOutput::appendWide(std::u16string_view text)
{
    char bytes[kWideChunk * kBytesPerUnit];
    while (!text.empty() && size_ < kLimit) {
        std::size_t units = std::min(text.size(), kWideChunk);
        if (splitsPair(text, units)) --units;
        append({bytes, kxUtfFromWide(text.substr(0, units), bytes)});
        text.remove_prefix(units);
    }
}

std::string_view kxFormatOutput::stringText() const noexcept
{
    if (size_ <= KX_STRING_MAX_LENGTH) return text();
    const std::string_view cut(data_, KX_STRING_MAX_LENGTH);
    return cut.substr(0, kxUtfWholeLength(cut));
}

std::size_t kxFormatOutput::makeRoom(std::size_t count)
{
    if (count <= capacity_ - size_) return count;
    count = std::min(count, kLimit - size_);
    if (count > capacity_ - size_) grow(std::min(std::max(size_ + count, 2 * capacity_), kLimit));
    return count;
}

void kxFormatOutput::grow(std::size_t size)
{
    if (data_ != stack_) {
        data_ = static_cast<char*>(kxTrackedReallocate(data_, size));
    } else {
        data_ = static_cast<char*>(kxTrackedAllocate(size));
        std::memcpy(data_, stack_, size_);
    }
    capacity_ = size;
}
