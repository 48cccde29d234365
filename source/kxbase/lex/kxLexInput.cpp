#include "kxbase/lex/kxLexInput.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/serialize/kxWideText.h"
#include "kxbase/string/kxUtf.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

constexpr std::uint32_t kFirstBlockBytes = 256;
constexpr std::uint32_t kLastBlockBytes = 65536;
// A history beyond this is not kept for the next match.
constexpr std::size_t kKeptUnits = 4 * 1024 * 1024;

bool hasSingleSurrogate(std::u16string_view units)
{
    for (std::size_t at = 0; at < units.size(); ++at) {
        if (kxIsLowSurrogate(units[at])) return true;
        if (!kxIsHighSurrogate(units[at])) continue;
        if (++at == units.size() || !kxIsLowSurrogate(units[at])) return true;
    }
    return false;
}

// Looks for its byte, which is what libraries are fast at, and then whether that is all of the character.
std::size_t findLineFeed(std::u16string_view units, std::size_t from)
{
    while (from < units.size()) {
        const auto* const start = reinterpret_cast<const char*>(units.data() + from);
        const void* const found = std::memchr(start, '\n', (units.size() - from) * sizeof(char16_t));
        if (found == nullptr) break;
        from += static_cast<std::size_t>(static_cast<const char*>(found) - start) / sizeof(char16_t);
        if (units[from] == u'\n') return from;
        ++from;
    }
    return std::u16string_view::npos;
}

}  // namespace

void kxLexInput::setAdapter(const kxRefPointer<kxSerializeAdapter>& adapter, bool isWide)
{
    finish(0);
    adapter_ = adapter;
    isWide_ = isWide;
    startPlace_ = lastPlace_ = kxTextPlace();
}

void kxLexInput::giveBack(std::uint32_t count)
{
    if (count > position_) kxRaiseFatal("Too Large Pushback in basic parser");
    position_ -= count;
}

void kxLexInput::begin()
{
    finish(0);
    hasEnded_ = hasTouchedEnd_ = isFull_ = false;
    blockBytes_ = kFirstBlockBytes;
}

void kxLexInput::finish(std::uint32_t position)
{
    startPlace_ = lastPlace_ = placeOf(position);
    giveBytesBack(position);
    if (units_.capacity() > kKeptUnits) std::u16string().swap(units_);  // assigning keeps the room
    units_.clear();
    position_ = lastPosition_ = 0;
}

// Last byte first, so that they are read again in order.
void kxLexInput::giveBytesBack(std::uint32_t position)
{
    if (hasOddByte_) adapter_->pushBack(oddByte_);
    hasOddByte_ = false;
    std::u16string_view unused = std::u16string_view(units_).substr(position);
    while (!unused.empty()) {
        const std::size_t count = std::min<std::size_t>(unused.size(), kLastBlockBytes / unitBytes());
        giveBlockBack(unused.substr(unused.size() - count));
        unused.remove_suffix(count);
    }
}

void kxLexInput::giveBlockBack(std::u16string_view units)
{
    bytes_.clear();
    for (const char16_t unit : units) {
        bytes_ += static_cast<char>(unit & 0xFFU);
        if (isWide_) bytes_ += static_cast<char>(unit >> 8U);
    }
    adapter_->pushBack(bytes_.data(), static_cast<std::uint32_t>(bytes_.size()));
}

bool kxLexInput::more()
{
    if (hasEnded_ || isFull_ || !adapter_) return false;
    const std::size_t position = units_.size();
    if (position >= limit_) {
        isFull_ = hasAnother();
        hasEnded_ = !isFull_;
        return false;
    }
    const std::uint64_t room = std::uint64_t{limit_ - position} * unitBytes();
    do {
        const std::uint32_t count = readBytes(room - (hasOddByte_ ? 1 : 0));
        hasEnded_ = count == 0;
        if (hasEnded_) return false;
        const auto* const bytes = reinterpret_cast<const unsigned char*>(bytes_.data());
        if (isWide_)
            appendPairs(bytes, count);
        else
            appendBytes(bytes, count);
    } while (position == units_.size());
    blockBytes_ = std::min(blockBytes_ * 2, kLastBlockBytes);
    return true;
}

void kxLexInput::appendBytes(const unsigned char* bytes, std::uint32_t count)
{
    const std::size_t before = units_.size();
    units_.resize(before + count);
    char16_t* const units = units_.data() + before;
    if constexpr (std::endian::native == std::endian::little)
        kxWideText::widen(bytes, count, reinterpret_cast<std::uint8_t*>(units));
    else
        std::copy(bytes, bytes + count, units);
}

void kxLexInput::appendPairs(const unsigned char* bytes, std::uint32_t count)
{
    for (std::uint32_t at = 0; at < count; ++at) {
        if (hasOddByte_) units_ += static_cast<char16_t>(oddByte_ | (bytes[at] << 8U));
        oddByte_ = bytes[at];
        hasOddByte_ = !hasOddByte_;
    }
}

bool kxLexInput::hasAnother()
{
    const std::uint64_t ready = adapter_->length();
    if (ready == 0) return adapter_->hasData();
    return ready + (hasOddByte_ ? 1 : 0) >= unitBytes();
}

// Up to a block, but no more than `most`.
std::uint32_t kxLexInput::readBytes(std::uint64_t most)
{
    most = std::min<std::uint64_t>(most, blockBytes_);
    if (adapter_->length() == 0 && !adapter_->hasData()) return 0;
    const std::uint32_t count = std::clamp(adapter_->length(), 1U, static_cast<std::uint32_t>(most));
    bytes_.resize(count);
    return adapter_->read(bytes_.data(), count);
}

kxTextPlace kxLexInput::placeOf(std::uint32_t position)
{
    const std::u16string_view units = units_;
    const std::uint32_t from = std::min(position, lastPosition_);
    const std::uint32_t to = std::max(position, lastPosition_);
    std::uint32_t lines = 0;
    for (std::size_t at = from; (at = findLineFeed(units.substr(0, to), at)) != units.npos; ++at) ++lines;
    lastPlace_.line += position < lastPosition_ ? 0 - lines : lines;
    if (lines == 0) {
        lastPlace_.column += position - lastPosition_;  // backwards too, modulo 2^32
    } else {
        const std::size_t lineStart = units.substr(0, position).rfind(u'\n') + 1;  // 0 when there is none
        lastPlace_.column =
            position - static_cast<std::uint32_t>(lineStart) + (lineStart == 0 ? startPlace_.column : 1);
    }
    lastPosition_ = position;
    return lastPlace_;
}

bool kxLexInput::copyText(std::uint32_t from, std::uint32_t to, std::string& text) const
{
    const std::u16string_view units = std::u16string_view(units_).substr(from, to > from ? to - from : 0);
    if (!isWide_) {
        text.resize(units.size());
        std::transform(units.begin(), units.end(), text.begin(),
                       [](char16_t u) { return static_cast<char>(u); });
        return true;
    }
    if (hasSingleSurrogate(units)) return false;
    text.resize(kxUtfLengthOfWide(units));
    kxUtfFromWide(units, text.data());
    return true;
}
