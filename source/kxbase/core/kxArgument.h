// One value handed to a format text: a type tag and a 64-bit payload.
//
// Ownership: a text argument refers to the caller's characters, which must live until the call that
//            takes the argument has returned. Nothing is copied.
// Threads:   a plain value.
// Errors:    asking an argument of another kind for its text is fatal; numbers convert freely. A value that would
//            have to become a new kxString first does not compile: the argument would outlive that string.
// Units:     integers are carried as 64 bits, sign-extended, a plain char as its unsigned value; text lengths are
//            in bytes, of wide text in 16-bit units, and end at 2^32 - 2.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

class kxString;

enum kxArgumentKind : std::uint8_t {
    KX_ARGUMENT_EMPTY,
    KX_ARGUMENT_SIGNED,
    KX_ARGUMENT_UNSIGNED,
    KX_ARGUMENT_DOUBLE,
    KX_ARGUMENT_TEXT,
    KX_ARGUMENT_WIDE_TEXT,
};

class kxArgument {
public:
    constexpr kxArgument() noexcept : integer_(0) {}
    constexpr kxArgument(double value) noexcept : kind_(KX_ARGUMENT_DOUBLE), double_(value) {}
    template <typename T>
    requires std::integral<T> ||
        (std::is_enum_v<T>&& std::is_convertible_v<T, int>)constexpr kxArgument(T value) noexcept
        : kind_(isSigned<T>() ? KX_ARGUMENT_SIGNED : KX_ARGUMENT_UNSIGNED),
          integer_(static_cast<std::uint64_t>(value))
    {}
    // Unsigned whatever the sign of char is, so that %c writes a char above 0x7F as the character of that number.
    constexpr kxArgument(char value) noexcept : kxArgument(static_cast<unsigned char>(value)) {}
    // Text up to its terminating zero; a null pointer is no valid text.
    constexpr kxArgument(const char* text) noexcept : kind_(KX_ARGUMENT_TEXT), text_(text) {}
    // Text of a known length, which may hold zero bytes and needs no terminator.
    constexpr kxArgument(std::string_view text) noexcept
        : kind_(KX_ARGUMENT_TEXT), length_(stored(text.size())),
          text_(text.data() != nullptr ? text.data() : "")
    {}
    // A kxString itself; what merely converts to one is not taken. An empty string is the text "".
    template <std::derived_from<kxString> String>
    kxArgument(const String& text) noexcept : kxArgument(viewOf(text))
    {}
    // UTF-16 text up to its terminating zero unit.
    constexpr kxArgument(const char16_t* text) noexcept : kind_(KX_ARGUMENT_WIDE_TEXT), wide_(text) {}
    // UTF-16 text of a known length, in the manner of the narrow one.
    constexpr kxArgument(std::u16string_view text) noexcept
        : kind_(KX_ARGUMENT_WIDE_TEXT), length_(stored(text.size())),
          wide_(text.data() != nullptr ? text.data() : u"")
    {}
    // An address, carried as an unsigned number.
    kxArgument(const void* address) noexcept
        : kind_(KX_ARGUMENT_UNSIGNED), integer_(reinterpret_cast<std::uintptr_t>(address))
    {}

    kxArgumentKind kind() const noexcept { return kind_; }

    // The integer; a double is truncated towards zero and saturated, NaN, text and empty give 0.
    std::int64_t toSigned() const noexcept;
    std::uint64_t toUnsigned() const noexcept;
    // The floating value of a number; text and empty give 0.
    double toDouble() const noexcept;

    // True when the argument is text of the asked width with a pointer that is not null.
    bool hasText() const noexcept { return kind_ == KX_ARGUMENT_TEXT && text_ != nullptr; }
    bool hasWideText() const noexcept { return kind_ == KX_ARGUMENT_WIDE_TEXT && wide_ != nullptr; }
    // The characters of an argument that holds text; any other kind is a programming error.
    std::string_view text() const;
    std::u16string_view wideText() const;
    // The same up to a number of bytes or units; nothing behind them is looked at.
    std::string_view text(std::size_t maximum) const;
    std::u16string_view wideText(std::size_t maximum) const;

private:
    static constexpr std::uint32_t kUntilZero = 0xFFFFFFFFU;

    static constexpr std::uint32_t stored(std::size_t length) noexcept
    {
        return length < kUntilZero ? static_cast<std::uint32_t>(length) : kUntilZero - 1;
    }
    template <typename T> static constexpr bool isSigned() noexcept
    {
        if constexpr (std::is_enum_v<T>) return std::is_signed_v<std::underlying_type_t<T>>;
        return std::is_signed_v<T>;
    }
    // Defined beside kxString.
    static std::string_view viewOf(const kxString& text) noexcept;

    kxArgumentKind kind_ = KX_ARGUMENT_EMPTY;
    std::uint32_t length_ = kUntilZero;
    union {
        std::uint64_t integer_;
        double double_;
        const char* text_;
        const char16_t* wide_;
    };
};
