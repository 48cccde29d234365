#include "kxbase/lex/kxRuleSplitter.h"

#include "kxbase/lex/kxRuleScanner.h"

#include <algorithm>

bool kxRuleSplitter::next(Piece& piece)
{
    while (at_ < text_.size()) {
        const std::size_t start = kxRuleScanner::skipBlanks(text_, at_);
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
    while (at < text_.size() && text_[at] != ';') {
        const std::string_view closer = kxRuleScanner::closerAt(text_, at++);
        std::string_view* const missingEnd = missing_ + missingCount_;
        if (closer.empty() || std::find(missing_, missingEnd, closer) != missingEnd) continue;
        const std::size_t end = text_.find(closer, kxRuleScanner::contentAt(closer, at - 1));
        if (end == std::string_view::npos)
            missing_[missingCount_++] = closer;
        else
            at = end + closer.size();
    }
    return at;
}
