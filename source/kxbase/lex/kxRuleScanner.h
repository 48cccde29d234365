// What the splitter of rule sets and the parser of rules both know of rule text: blanks, comments, quotes, sets.
//
// Threads: pure functions.
// Errors:  an end that is missing is std::string_view::npos.
// Units:   positions are in bytes.
#pragma once

#include <cstddef>
#include <string_view>

class kxRuleScanner {
public:
    static constexpr bool isBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
    static constexpr bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }
    static constexpr bool isNameStart(char c) noexcept
    {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    }
    static constexpr bool isInName(char c) noexcept { return isNameStart(c) || isDigit(c); }
    static constexpr bool isCommentStart(std::string_view text, std::size_t at) noexcept
    {
        return text.substr(at, 2) == "/*";
    }
    // What ends the piece that starts at a position: a quote, a set or a comment; empty when none starts there.
    static constexpr std::string_view closerAt(std::string_view text, std::size_t at) noexcept
    {
        switch (text[at]) {
        case '\'':
            return "'";
        case '"':
            return "\"";
        case '[':
            return "]";
        default:
            return isCommentStart(text, at) ? "*/" : "";
        }
    }
    // Where the content of such a piece begins.
    static constexpr std::size_t contentAt(std::string_view closer, std::size_t at) noexcept
    {
        return at + closer.size();
    }
    // Past white space and whole comments; stops before a comment that does not end.
    static std::size_t skipBlanks(std::string_view text, std::size_t at) noexcept;
    static std::size_t skipName(std::string_view text, std::size_t at) noexcept;
    static std::size_t skipDigits(std::string_view text, std::size_t at) noexcept;
};
