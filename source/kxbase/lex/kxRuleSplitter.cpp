#include "kxbase/lex/kxRuleSplitter.h"

#include "kxbase/lex/kxRuleScanner.h"

#include <algorithm>

bool kxRuleSplitter::next(Piece& piece)
{
    while (at_ < text_.size()) {
        const std::size_t start = skipBlanks(at_);
        place_.pass(text_.substr(at_, start - at_));
        const std::size_t end = endOfRule(start);
        piece = {text_.substr(start, end - start), place_, number_ + 1};
        at_ = std::min(end + 1, text_.size());
        place_.pass(text_.substr(start, at_ - start));
        if (piece.text.empty()) continue;
        ++number_;
        return true;
    }
    return false;
}

std::size_t kxRuleSplitter::endOfRule(std::size_t at)
{
    while (at < text_.size() && text_[at] != ';') at = std::max(skipPiece(at), at + 1);
    return at;
}

std::size_t kxRuleSplitter::skipBlanks(std::size_t at)
{
    for (;;) {
        while (at < text_.size() && kxRuleScanner::isBlank(text_[at])) ++at;
        const std::size_t start = at;
        if (at < text_.size() && kxRuleScanner::isCommentStart(text_, at)) at = skipPiece(at);
        if (at == start) return at;
    }
}

// Past the quote, set or comment that starts at a position; the position when none does, or it does not end. What was
// looked for in vain once is not looked for again.
std::size_t kxRuleSplitter::skipPiece(std::size_t at)
{
    const std::string_view closer = kxRuleScanner::closerAt(text_, at);
    std::string_view* const missingEnd = missing_ + missingCount_;
    if (closer.empty() || std::find(missing_, missingEnd, closer) != missingEnd) return at;
    const std::size_t end = text_.find(closer, kxRuleScanner::contentAt(closer, at));
    if (end != std::string_view::npos) return end + closer.size();
    missing_[missingCount_++] = closer;
    return at;
}
