#include "kxbase/string/kxString.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxTrackedMemory.h"
#include "kxbase/string/kxStringBuild.h"
#include "kxbase/string/kxUtf.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <ostream>

namespace {

[[noreturn]] void raiseBadIndex()
{
    kxRaiseFatal("kxString(index) out of bounds");
}

std::uint32_t littleEndianGroup(const char* bytes) noexcept
{
    std::uint32_t group;
    std::memcpy(&group, bytes, sizeof group);
    if constexpr (std::endian::native == std::endian::big) group = __builtin_bswap32(group);
    return group;
}

// A tail byte of 0x80 or above sets all higher bits, which is part of the hash.
std::uint32_t hashTail(const char* bytes, std::size_t count) noexcept
{
    std::uint32_t tail = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto byte = static_cast<std::int8_t>(bytes[i]);
        tail = (tail << 8U) | static_cast<std::uint32_t>(static_cast<std::int32_t>(byte));
    }
    return tail;
}

}  // namespace

void kxString::raiseTooLong()
{
    kxRaiseFatal("Too many characters in kxString");
}

std::string_view kxString::viewOf(const char* text, std::size_t limit) noexcept
{
    if (text == nullptr) return {};
    const void* const zero = std::memchr(text, 0, limit);
    if (zero == nullptr) return {text, limit};
    return {text, static_cast<std::size_t>(static_cast<const char*>(zero) - text)};
}

kxString::kxString(const char* text) : kxString(viewOf(text)) {}

kxString::kxString(const char* bytes, std::size_t length) : kxString(std::string_view(bytes, length)) {}

kxString::kxString(std::string_view text)
{
    const std::size_t length = std::min<std::size_t>(text.size(), KX_STRING_MAX_LENGTH);
    build(length, [&](char* buffer) { std::memcpy(buffer, text.data(), length); });
}

kxString::kxString(const kxString& other)
    : kxSerializeData(other), text_(other.text_), length_(other.length_), uniqueId_(other.uniqueId_),
      hash_(other.hash_)
{
    if (!other.ownsText()) return;
    auto* const buffer = static_cast<char*>(kxTrackedAllocate(length_ + 1U));
    std::memcpy(buffer, other.text_, length_ + 1U);
    text_ = buffer;
}

kxString::kxString(char character) : kxString(std::string_view(&character, 1)) {}

kxString::kxString(char16_t character) : kxString(static_cast<char32_t>(character)) {}

kxString::kxString(char32_t character)
{
    *this += character;
}

kxString& kxString::operator=(const kxString& other)
{
    if (this != &other) *this = kxString(other);
    return *this;
}

kxString& kxString::operator=(kxString&& other) noexcept
{
    if (this == &other) return *this;
    release();
    take(other);
    return *this;
}

void kxString::freeText() noexcept
{
    kxTrackedFree(const_cast<char*>(text_));
}

void kxString::take(kxString& other) noexcept
{
    text_ = std::exchange(other.text_, nullptr);
    length_ = std::exchange(other.length_, std::uint16_t{0});
    uniqueId_ = std::exchange(other.uniqueId_, std::uint16_t{0});
    hash_ = std::exchange(other.hash_, 0U);
}

void kxString::adopt(const char* tableText, std::uint16_t length, std::uint32_t hash,
                     std::uint16_t id) noexcept
{
    release();
    text_ = length != 0 ? tableText : nullptr;
    length_ = length;
    uniqueId_ = id;
    hash_ = hash;
}

bool kxString::sameText(const kxString& other) const noexcept
{
    if (uniqueId_ != 0 && other.uniqueId_ != 0) return uniqueId_ == other.uniqueId_;
    return text_ == other.text_ || std::memcmp(text_, other.text_, length_) == 0;
}

std::uint32_t kxString::hashOf(std::string_view text) noexcept
{
    const std::size_t groups = text.size() / 4;
    auto hash = static_cast<std::uint32_t>(text.size());
    auto left = static_cast<std::uint32_t>(groups);
    const char* bytes = text.data();
    for (const char* const tail = bytes + groups * 4; bytes != tail; bytes += 4) {
        --left;
        hash ^= (littleEndianGroup(bytes) ^ left) | (hash << 1U);
    }
    return ((hash << 1U) | hashTail(bytes, text.size() % 4)) ^ hash;
}

std::uint32_t kxString::hashOf(const char* text, std::uint16_t length) noexcept
{
    return hashOf(length != 0 ? std::string_view(text, length) : viewOf(text));
}

const char& kxString::operator[](std::size_t index) const
{
    if (index >= length_) raiseBadIndex();
    return text_[index];
}

void kxString::setCharacter(std::size_t index, char character)
{
    if (index >= length_) raiseBadIndex();
    if (!ownsText()) *this = kxString(view());
    const_cast<char*>(text_)[index] = character;
    hash_ = hashOf(view());
}

kxString kxString::substring(std::size_t index, std::size_t count) const
{
    if (count == 0) return {};
    if (index >= length_) kxRaiseFatal("kxString(index,len) out of bounds");
    return kxString(view().substr(index, count));
}

kxString kxString::joined(const kxString& left, std::string_view right)
{
    if (right.empty()) return left;
    const std::uint64_t sum = std::uint64_t{left.length_} + right.size();
    requireLength(sum);
    return built(static_cast<std::size_t>(sum), [&](char* buffer) {
        std::memcpy(buffer, left.text(), left.length_);
        std::memcpy(buffer + left.length_, right.data(), right.size());
    });
}

kxString& kxString::append(std::string_view added)
{
    // The new text is complete before the old goes, so that a part of the string can be added to it.
    if (!added.empty()) *this = joined(*this, added);
    return *this;
}

kxString& kxString::operator+=(const char* added)
{
    return append(viewOf(added));
}

kxString& kxString::operator+=(char32_t added)
{
    char bytes[KX_UTF_MAX_BYTES];
    return append({bytes, kxUtfEncode(added, bytes)});
}

kxString operator+(const kxString& left, const kxString& right)
{
    return kxString::joined(left, right.view());
}

kxString operator+(const kxString& left, std::string_view right)
{
    return kxString::joined(left, right);
}

kxString operator+(const kxString& left, const char* right)
{
    return kxString::joined(left, kxString::viewOf(right));
}

kxString operator+(const char* left, const kxString& right)
{
    return kxString::joined(left, right.view());
}

kxString operator+(const kxString& left, char right)
{
    return kxString::joined(left, {&right, 1});
}

kxString operator+(const kxString& left, char16_t right)
{
    return left + static_cast<char32_t>(right);
}

kxString operator+(const kxString& left, char32_t right)
{
    char bytes[KX_UTF_MAX_BYTES];
    return kxString::joined(left, {bytes, kxUtfEncode(right, bytes)});
}

std::ostream& operator<<(std::ostream& stream, const kxString& string)
{
    return stream << string.view();
}

std::string_view kxArgument::viewOf(const kxString& text) noexcept
{
    return text.view();
}
