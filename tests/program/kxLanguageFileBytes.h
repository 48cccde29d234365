// Language files as bytes.
#pragma once

#include <string>

inline std::string littleEndian(const std::u16string& text)
{
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

inline std::string bigEndian(const std::u16string& text)
{
    std::string bytes = littleEndian(text);
    for (std::size_t at = 0; at < bytes.size(); at += 2) std::swap(bytes[at], bytes[at + 1]);
    return bytes;
}

// Line feeds, as they are written in quotes.
inline std::u16string escaped(std::size_t count)
{
    std::u16string text;
    while (count-- != 0) text += u"\\n";
    return text;
}
