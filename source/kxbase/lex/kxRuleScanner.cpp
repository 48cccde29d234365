#include "kxbase/lex/kxRuleScanner.h"

std::size_t kxRuleScanner::skipBlanks(std::string_view text, std::size_t at) noexcept
{
    for (;;) {
        while (at < text.size() && isBlank(text[at])) ++at;
        if (!isCommentStart(text, std::min(at, text.size()))) return at;
        const std::size_t end = text.find("*/", at + 2);
        if (end == std::string_view::npos) return at;
        at = end + 2;
    }
}

std::size_t kxRuleScanner::skipName(std::string_view text, std::size_t at) noexcept
{
    if (at >= text.size() || !isNameStart(text[at])) return at;
    while (at < text.size() && isInName(text[at])) ++at;
    return at;
}

std::size_t kxRuleScanner::skipDigits(std::string_view text, std::size_t at) noexcept
{
    while (at < text.size() && isDigit(text[at])) ++at;
    return at;
}
