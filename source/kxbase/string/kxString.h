// The library's one text type: bytes, treated as UTF-8 wherever wide text enters or leaves, with their
// length and their hash.
//
// Ownership: an ordinary string owns a buffer of exactly length() + 1 bytes in tracked memory; every copy has
//            its own. A string with a unique id points at the text of the process-wide table instead and
//            shares it with its copies. A string that was moved from is empty.
// Threads:   a plain value; separate objects may be used on separate threads freely.
// Errors:    indices out of range and concatenation beyond KX_STRING_MAX_LENGTH are fatal; a failed
//            allocation is reported with its place in the library, throws std::bad_alloc and leaves the
//            target as it was. Construction from longer text cuts silently, wide text and results of format()
//            at the last whole character.
// Units:     lengths and indices are in bytes; "characters" are code points.
#pragma once

#include "kxbase/core/kxArgumentView.h"
#include "kxbase/core/kxSerializeData.h"
#include "kxbase/string/kxNumberText.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string_view>
#include <utility>
#include <vector>

constexpr std::uint32_t KX_STRING_MAX_LENGTH = 65535;
// Results of kxString::wide() that stay valid at the same time on one thread.
constexpr std::uint32_t KX_STRING_WIDE_BUFFERS = 10;
// What a search answers that found nothing.
constexpr std::uint32_t KX_STRING_NOT_FOUND = 0xFFFFFFFFU;

class kxString : public kxSerializeData {
public:
    constexpr kxString() noexcept = default;
    constexpr kxString(std::nullptr_t) noexcept {}
    // Text up to its terminating zero; null gives the empty string.
    kxString(const char* text);
    kxString(std::string_view text);
    // Zero bytes inside are kept.
    kxString(const char* bytes, std::size_t length);
    kxString(const kxString& other);
    kxString(kxString&& other) noexcept { take(other); }
    // Wide text is UTF-16: pairs of surrogates are joined, single ones encoded as they are.
    kxString(const char16_t* text);
    kxString(std::u16string_view text);
    // One character; a code point above 0x7FFFFFFF sends a Warning and gives the empty string.
    explicit kxString(char character);
    explicit kxString(char16_t character);
    explicit kxString(char32_t character);
    ~kxString() override { release(); }

    kxString& operator=(const kxString& other);
    kxString& operator=(kxString&& other) noexcept;

    // Digits in any base from 2 to 62; another base gives the empty string.
    static kxString fromInteger(std::int64_t value, const kxIntegerStyle& style = {});
    static kxString fromUnsigned(std::uint64_t value, const kxIntegerStyle& style = {});
    // The text of kxDtoA: a fixed number of decimals, or as many as the value has when that is negative.
    static kxString fromDouble(double value, std::int16_t decimals = -1);

    // Builds a text in the manner of printf from at most sixteen arguments; see kxFormatter.
    template <typename... Arguments>
    static kxString format(std::string_view text, const Arguments&... arguments)
    {
        return formatArguments(text, kxArgumentSlots(arguments...));
    }
    // Null gives the empty string.
    template <typename... Arguments> static kxString format(const char* text, const Arguments&... arguments)
    {
        return format(text != nullptr ? std::string_view(text) : std::string_view(), arguments...);
    }
    static kxString formatArguments(std::string_view text, kxArgumentView arguments);

    std::uint16_t length() const noexcept { return length_; }
    bool isEmpty() const noexcept { return length_ == 0; }
    // Never null; terminated by a zero.
    const char* text() const noexcept { return text_ != nullptr ? text_ : ""; }
    std::string_view view() const noexcept { return {text(), length_}; }
    operator std::string_view() const noexcept { return view(); }
    const char* begin() const noexcept { return text(); }
    const char* end() const noexcept { return text() + length_; }
    // The hash of the text, always current; 0 for the empty string.
    std::uint32_t hash() const noexcept { return hash_; }
    // The id in the table of unique strings; 0 for an ordinary string.
    std::uint16_t uniqueId() const noexcept { return uniqueId_; }

    // The hash that a string of this text has.
    static std::uint32_t hashOf(std::string_view text) noexcept;
    // The same for raw text; a length of 0 means that it is counted up to the first zero, and no further than
    // KX_STRING_MAX_LENGTH, so it must not stand for an empty range.
    static std::uint32_t hashOf(const char* text, std::uint16_t length) noexcept;

    // Fatal for a length that no string has: "Too many characters in kxString".
    static void requireLength(std::uint64_t length)
    {
        if (length > KX_STRING_MAX_LENGTH) raiseTooLong();
    }

    // Indices and counts are taken as wide as they come, so that none is cut to one that exists.

    // Requires index < length().
    const char& operator[](std::size_t index) const;
    // Gives the string a text of its own first when it was unique. Requires index < length().
    void setCharacter(std::size_t index, char character);
    // A count past the end is cut; a start at or past the end is fatal unless the count is 0.
    kxString substring(std::size_t index, std::size_t count) const;

    // Adding is fatal when the sum of the lengths is beyond KX_STRING_MAX_LENGTH. A longer text given by a pointer
    // counts as that much: it is cut when the other side is empty, and fatal otherwise. Text of a known length
    // counts in full.
    kxString& operator+=(const kxString& added) { return append(added.view()); }
    kxString& operator+=(std::string_view added) { return append(added); }
    kxString& operator+=(const char* added);
    kxString& operator+=(char added) { return append({&added, 1}); }
    kxString& operator+=(char16_t added) { return *this += static_cast<char32_t>(added); }
    kxString& operator+=(char32_t added);

    friend kxString operator+(const kxString& left, const kxString& right);
    friend kxString operator+(const kxString& left, std::string_view right);
    friend kxString operator+(const kxString& left, const char* right);
    friend kxString operator+(const char* left, const kxString& right);
    friend kxString operator+(const kxString& left, char right);
    friend kxString operator+(const kxString& left, char16_t right);
    friend kxString operator+(const kxString& left, char32_t right);

    // Length and hash are compared before any byte. The order is that of unsigned bytes.
    friend bool operator==(const kxString& left, const kxString& right) noexcept
    {
        return left.length_ == right.length_ && left.hash_ == right.hash_ && left.sameText(right);
    }
    friend bool operator==(const kxString& left, std::string_view right) noexcept
    {
        return left.view() == right;
    }
    friend bool operator==(const kxString& left, const char* right) noexcept
    {
        return left == left.reachOf(right);
    }
    friend std::strong_ordering operator<=>(const kxString& left, const kxString& right) noexcept
    {
        return left.view() <=> right.view();
    }
    friend std::strong_ordering operator<=>(const kxString& left, std::string_view right) noexcept
    {
        return left.view() <=> right;
    }
    friend std::strong_ordering operator<=>(const kxString& left, const char* right) noexcept
    {
        return left.view() <=> left.reachOf(right);
    }

    // Case concerns the ASCII letters only.
    kxString lowerCase() const;
    kxString upperCase() const;
    bool equalsIgnoreCase(std::string_view other) const noexcept;

    // Index of the first match at or after `from`, or KX_STRING_NOT_FOUND.
    std::uint32_t find(char character, std::size_t from = 0) const noexcept;
    std::uint32_t find(std::string_view part, std::size_t from = 0) const noexcept;
    // Index of the last match that starts at or before `from`.
    std::uint32_t findLast(char character, std::size_t from = KX_STRING_NOT_FOUND) const noexcept;
    std::uint32_t findLast(std::string_view part, std::size_t from = KX_STRING_NOT_FOUND) const noexcept;
    bool contains(std::string_view part) const noexcept { return find(part) != KX_STRING_NOT_FOUND; }
    bool startsWith(std::string_view part) const noexcept { return view().starts_with(part); }
    bool endsWith(std::string_view part) const noexcept { return view().ends_with(part); }

    // White space is blank, tab, line feed, vertical tab, form feed and carriage return.
    kxString trimmed() const;
    kxString trimmedLeft() const;
    kxString trimmedRight() const;
    // Every match of `what`, left to right; an empty `what` matches nothing.
    kxString replaced(std::string_view what, std::string_view with) const;
    // The pieces between the separators, also the empty ones; n separators give n + 1 pieces.
    std::vector<kxString> split(std::string_view separator) const;

    // The number at the start of the text after white space, 0 when there is none; see kxNumberScanner.
    double toDouble(char decimalSeparator = '.') const;
    // Truncated towards zero and saturated; digits alone are exact over all 64 bits.
    std::int64_t toInteger() const;

    // Complete characters up to the first malformed sequence.
    std::uint32_t characterCount() const noexcept;
    // Writes the code points truncated to 16 bits, up to the end or to the first malformed sequence, which
    // sends a Warning; returns the units written without the terminator. The buffer needs length() units and
    // one for the terminator; a null buffer takes nothing.
    std::uint32_t copyWide(char16_t* buffer, bool terminate) const;
    // The same, terminated, in one of the calling thread's KX_STRING_WIDE_BUFFERS buffers, which are used in
    // turn. At most `length` units when that is not 0.
    const char16_t* wide(std::uint32_t length = 0) const;

    // As a kxSerializeString with a terminator of 0.
    void write(kxSerializeAdapter& adapter) const override;
    void read(kxSerializeAdapter& adapter) override;
    void pushBack(kxSerializeAdapter& adapter) const override;
    std::uint32_t getDataSize() const override;

    friend std::ostream& operator<<(std::ostream& stream, const kxString& string);

private:
    friend class kxUniqueString;

    // Up to the terminating zero, or to the limit.
    static std::string_view viewOf(const char* text, std::size_t limit = KX_STRING_MAX_LENGTH) noexcept;
    // As much of a text as decides how the string compares with it.
    std::string_view reachOf(const char* text) const noexcept
    {
        return viewOf(text, length_ + std::size_t{1});
    }
    [[noreturn]] static void raiseTooLong();
    // A string whose buffer is `length` bytes that `fill` writes, which must not throw. A failed allocation is
    // reported with the caller's position.
    template <typename Fill>
    static kxString built(std::size_t length, const Fill& fill, const char* file = __builtin_FILE(),
                          std::uint32_t line = __builtin_LINE());
    template <typename Fill>
    void build(std::size_t length, const Fill& fill, const char* file = __builtin_FILE(),
               std::uint32_t line = __builtin_LINE());
    // A text with zeros behind it, cut to what a string holds.
    static kxString withZeros(std::string_view text, std::size_t count);
    static kxString joined(const kxString& left, std::string_view right);

    bool ownsText() const noexcept { return text_ != nullptr && uniqueId_ == 0; }
    bool sameText(const kxString& other) const noexcept;
    kxString& append(std::string_view added);
    void release() noexcept
    {
        if (ownsText()) freeText();
    }
    void freeText() noexcept;
    void take(kxString& other) noexcept;
    // Points the string at the text of a slot of the table of unique strings, which outlives it; the own
    // buffer is freed.
    void adopt(const char* tableText, std::uint16_t length, std::uint32_t hash, std::uint16_t id) noexcept;

    const char* text_ = nullptr;  // null when empty
    std::uint16_t length_ = 0;
    std::uint16_t uniqueId_ = 0;  // when not 0, the text belongs to the table
    std::uint32_t hash_ = 0;
};

static_assert(sizeof(void*) != 8 || sizeof(kxString) == 24, "virtual table, text, length, id and hash");

template <> struct std::hash<kxString> {
    std::size_t operator()(const kxString& string) const noexcept { return string.hash(); }
};
