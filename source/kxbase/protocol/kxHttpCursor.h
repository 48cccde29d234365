// A place in a line of a message, and the pieces of grammar that lines share. A piece that is not there leaves the
// cursor at the fault, with a text about it.
//
// Ownership: refers to the line, which must outlive it.
// Threads:   a plain value.
#pragma once

#include "kxbase/protocol/kxHttpCharacters.h"

class kxHttpCursor {
public:
    explicit kxHttpCursor(std::string_view line) noexcept
        : position_(line.data()), end_(line.data() + line.size())
    {}

    bool isAtEnd() const noexcept { return position_ == end_; }
    const char* position() const noexcept { return position_; }
    std::string_view rest() const noexcept { return {position_, static_cast<std::size_t>(end_ - position_)}; }
    // The text about what is missing; null while nothing is.
    const char* fault() const noexcept { return fault_; }
    // Always false, so that a rule ends with it.
    bool fail(const char* fault) noexcept
    {
        fault_ = fault;
        return false;
    }
    bool failAt(const char* position, const char* fault) noexcept
    {
        position_ = position;
        return fail(fault);
    }
    bool endLine(const char* fault) noexcept { return isAtEnd() || fail(fault); }
    // The same behind blanks.
    bool endValue(const char* fault) noexcept
    {
        skipBlanks();
        return endLine(fault);
    }

    bool isNext(char character) const noexcept { return !isAtEnd() && *position_ == character; }
    bool isNextOf(std::uint32_t kinds) const noexcept { return !isAtEnd() && kxHttpIs(*position_, kinds); }
    bool take(char character) noexcept
    {
        const bool isThere = isNext(character);
        position_ += isThere ? 1 : 0;
        return isThere;
    }
    bool take(std::string_view text) noexcept
    {
        const bool isThere = rest().starts_with(text);
        position_ += isThere ? text.size() : 0;
        return isThere;
    }
    // The longest run of bytes of the given kinds, which may be empty.
    std::string_view takeRun(std::uint32_t kinds) noexcept
    {
        const char* const start = position_;
        while (position_ != end_ && kxHttpIs(*position_, kinds)) ++position_;
        return since(start);
    }
    std::string_view takeToken() noexcept { return takeRun(KX_HTTP_TOKEN); }
    void skipBlanks() noexcept { takeRun(KX_HTTP_BLANK); }
    // Goes over empty items of a list to one that is not, which may be missing too (RFC 9110 5.6.1.2).
    void skipCommas() noexcept;
    // Goes on to the next item of a list; false when none follows before the end of the value, or of the quoted text
    // that the list stands in.
    bool takeComma() noexcept;
    // Everything up to the first control byte or the end.
    std::string_view takeText() noexcept;

    // "(...)", comments inside of comments included; the cursor stands at the first bracket.
    bool takeComment() noexcept;
    // "..." with quoted pairs; the cursor stands at the first quote.
    bool takeString() noexcept;
    // What a URI may hold, up to the first byte that it may not.
    bool takeUriText() noexcept;
    bool takeAbsoluteUri() noexcept;
    bool takeFieldNameList() noexcept;
    bool takeProduct() noexcept;

private:
    std::string_view since(const char* start) const noexcept
    {
        return {start, static_cast<std::size_t>(position_ - start)};
    }
    bool takeEscape() noexcept;

    const char* position_;
    const char* end_;
    const char* fault_ = nullptr;
};
