#include "kxbase/protocol/kxHttpCursor.h"

void kxHttpCursor::skipCommas() noexcept
{
    for (skipBlanks(); take(',');) skipBlanks();
}

bool kxHttpCursor::takeComma() noexcept
{
    skipBlanks();
    if (!isNext(',')) return false;
    skipCommas();
    return !isAtEnd() && !isNext('"');
}

std::string_view kxHttpCursor::takeText() noexcept
{
    const char* const start = position_;
    position_ = kxHttpFindControl(rest());
    return since(start);
}

bool kxHttpCursor::takeComment() noexcept
{
    const char* const start = position_;
    std::uint32_t depth = 0;
    for (; position_ != end_; ++position_) {
        const char byte = *position_;
        if (byte == '\\' && position_ + 1 != end_)
            ++position_;
        else if (byte == '(')
            ++depth;
        else if (byte == ')' && --depth == 0)
            return take(')');
    }
    return failAt(start, "Unbalanced () in comment");
}

bool kxHttpCursor::takeString() noexcept
{
    const char* const start = position_;
    while (++position_ != end_) {
        if (*position_ == '"') return take('"');
        if (*position_ == '\\' && position_ + 1 != end_) ++position_;
    }
    return failAt(start, "Unbalanced \" in string");
}

bool kxHttpCursor::takeEscape() noexcept
{
    for (const char* const fault : {"Missing HEX char in escape", "Missing second HEX char in escape"}) {
        if (isAtEnd() || !kxHttpIs(*position_, KX_HTTP_HEX)) return fail(fault);
        ++position_;
    }
    return true;
}

bool kxHttpCursor::takeUriText() noexcept
{
    for (takeRun(KX_HTTP_URI); take('%'); takeRun(KX_HTTP_URI)) {
        if (!takeEscape()) return false;
    }
    return true;
}

bool kxHttpCursor::takeAbsoluteUri() noexcept
{
    takeRun(KX_HTTP_SCHEME);
    return take(':') ? takeUriText() : fail("Missing ':' in absolute URI");
}

bool kxHttpCursor::takeFieldNameList() noexcept
{
    skipCommas();
    do {
        if (takeToken().empty()) return fail("Missing 'FieldName' in FieldNameList");
    } while (takeComma());
    return true;
}

bool kxHttpCursor::takeProduct() noexcept
{
    takeToken();
    return !take('/') || !takeToken().empty() || fail("Missing product version in Product/Version");
}
