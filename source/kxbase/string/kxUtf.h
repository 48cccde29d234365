// UTF-8 in its first definition: one to six bytes for code points up to 0x7FFFFFFF.
//
// Overlong forms and code points of surrogates are accepted. The two warnings name the opposite direction of
// the one that failed; programs look for these texts.
//
// Threads: plain functions without state.
// Errors:  faulty data sends a Warning and yields 0 in the functions that say so; the others are silent.
// Units:   lengths are in bytes of UTF-8 or in 16-bit units.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

constexpr std::uint32_t KX_UTF_MAX_BYTES = 6;
constexpr std::uint32_t KX_UTF_MAX_CODE_POINT = 0x7FFFFFFFU;
// The Warning about a code point above it.
constexpr std::string_view KX_UTF_TOO_LARGE = "Utf decoding on faulty data input";

// The two halves of a pair of UTF-16 units.
constexpr bool kxIsHighSurrogate(char16_t unit) noexcept
{
    return (unit & 0xFC00U) == 0xD800U;
}
constexpr bool kxIsLowSurrogate(char16_t unit) noexcept
{
    return (unit & 0xFC00U) == 0xDC00U;
}

// A decoded sequence; a length of 0 says that the bytes are malformed or that there are none.
struct kxUtfSequence {
    std::uint32_t codePoint;
    std::uint32_t length;
};

// Writes the sequence of a code point, at most KX_UTF_MAX_BYTES bytes, and returns its length. Above
// KX_UTF_MAX_CODE_POINT: nothing, 0 and the Warning KX_UTF_TOO_LARGE.
std::uint32_t kxUtfEncode(std::uint32_t codePoint, char* bytes);
// The length alone, with the same fault.
std::uint32_t kxUtfByteCount(std::uint32_t codePoint);
// The code point at the start of the bytes. On malformed or cut bytes: 0, a length of 0 and the Warning
// "Utf encoding on faulty data set".
std::uint32_t kxUtfDecode(std::string_view bytes, std::uint32_t& length);

// The sequence at the start of the bytes, without a warning.
kxUtfSequence kxUtfPeek(std::string_view bytes) noexcept;
// Complete sequences up to the end or to the first malformed one.
std::size_t kxUtfCharacterCount(std::string_view bytes) noexcept;
// Bytes of `characters` characters at the start; each byte of a malformed place counts as a character.
std::size_t kxUtfPrefix(std::string_view bytes, std::size_t characters) noexcept;
// The bytes without a last sequence that is cut short.
std::size_t kxUtfWholeLength(std::string_view bytes) noexcept;

struct kxUtfProgress {
    std::size_t read;     // bytes taken; fewer than given when the next sequence is malformed or room ended
    std::size_t written;  // units written
};

// Decodes into units of 16 bits, each code point truncated, up to the end, the first malformed sequence or
// the end of the room; silent.
kxUtfProgress kxUtfToWide(std::string_view bytes, char16_t* units, std::size_t room) noexcept;

// Bytes that the UTF-8 form of UTF-16 needs, and that form; pairs are joined, single surrogates encoded as
// they are. The second needs the room that the first answers and returns it.
std::size_t kxUtfLengthOfWide(std::u16string_view units) noexcept;
std::size_t kxUtfFromWide(std::u16string_view units, char* bytes) noexcept;
