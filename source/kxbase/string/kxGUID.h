// A 128-bit globally unique identifier and its text.
//
//   {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}    upper-case digits when written; either case, and the form without
//                                             braces, when read
//
// Threads: a plain value.
// Errors:  text that is no GUID sends a Warning, which shows the group that is wrong, and gives the null GUID.
// Units:   lengths are in bytes.
//
// The text shows the fields in their order, so that ordering GUIDs orders their texts. Random GUIDs are those of
// version 4 of RFC 9562.
#pragma once

#include "kxbase/string/kxString.h"

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <string_view>

// Characters of a GUID's text, braces included.
constexpr std::size_t KX_GUID_TEXT_LENGTH = 38;

class kxGUID {
public:
    // The null GUID: all bits are zero.
    constexpr kxGUID() noexcept = default;
    constexpr kxGUID(std::uint32_t first, std::uint16_t second, std::uint16_t third,
                     const std::array<std::uint8_t, 8>& last) noexcept
        : data1(first), data2(second), data3(third), data4(last)
    {}
    // A length of 0 means that the text is counted up to its terminating zero.
    explicit kxGUID(const char* text, std::uint16_t length = 0);
    explicit kxGUID(std::string_view text);

    // Reads a text without sending anything. Answers null on success, else the text of the Warning about what is
    // wrong, and leaves the GUID alone then.
    [[nodiscard]] static const char* read(std::string_view text, kxGUID& guid) noexcept;
    // The text has braces, the length and the dashes of a GUID; its digits are not looked at.
    static bool hasShape(std::string_view text) noexcept;
    // A new GUID of version 4. Fatal when the system has no random numbers.
    static kxGUID random();

    bool isNull() const noexcept { return *this == kxGUID(); }
    kxString toString() const;
    // Writes the text and a terminating zero into KX_GUID_TEXT_LENGTH + 1 bytes.
    void toText(char* text) const noexcept;

    friend bool operator==(const kxGUID&, const kxGUID&) noexcept = default;
    friend std::strong_ordering operator<=>(const kxGUID&, const kxGUID&) noexcept = default;

    std::uint32_t data1 = 0;
    std::uint16_t data2 = 0;
    std::uint16_t data3 = 0;
    std::array<std::uint8_t, 8> data4{};
};

static_assert(sizeof(kxGUID) == 16, "no padding");

template <> struct std::hash<kxGUID> {
    std::size_t operator()(const kxGUID& guid) const noexcept;
};
