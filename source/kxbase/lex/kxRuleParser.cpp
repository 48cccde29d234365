#include "kxbase/lex/kxRuleParser.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/lex/kxRuleScanner.h"
#include "kxbase/serialize/kxErrorText.h"
#include "kxbase/serialize/kxShortName.h"

#include <charconv>

// The misspelt words belong to the texts.
#define KX_RULE_FAULT(what) what " in rule '%s' at (Line:%d,Col:%d) -> %s"

namespace {

constexpr const char* kMismatch = KX_RULE_FAULT("Expression mismatch");
constexpr const char* kNoMinimum = KX_RULE_FAULT("Missing Min number in set {Min,Max}");
constexpr const char* kNoComma = KX_RULE_FAULT("Missing ',' in set {Min,Max}");
constexpr const char* kNoMaximum = KX_RULE_FAULT("Missing Max number in set {Min,Max}");
constexpr const char* kNoBrace = KX_RULE_FAULT("Missing right '}' in set {Min,Max}");
constexpr const char* kMinimumAboveMaximum = KX_RULE_FAULT("Min>Max in set {Min,Max}");
constexpr const char* kNoBracket = KX_RULE_FAULT("Missing right ')'");
constexpr const char* kOpenSet = KX_RULE_FAULT("Unbalansed Set []");
constexpr const char* kOpenComment = KX_RULE_FAULT("Unbalansed comment");
constexpr const char* kOpenQuote = KX_RULE_FAULT("Unbalansed quote string");
constexpr const char* kOpenSingleQuote = KX_RULE_FAULT("Unbalansed single quoted string");
constexpr const char* kTooDeep = KX_RULE_FAULT("Parse Error:'Too many nested rules'");

constexpr struct {
    char sign;
    std::uint32_t minimum;
    std::uint32_t maximum;
} kRepeatSigns[] = {
    {'?', 0, 1},
    {'*', 0, KX_RULE_UNLIMITED},
    {'+', 1, KX_RULE_UNLIMITED},
};

}  // namespace

bool kxRuleParser::parse()
{
    return parseHead() && parseExpression() && parseEnd();
}

bool kxRuleParser::parseHead()
{
    look();
    const std::size_t end = kxRuleScanner::skipName(tree_.text(), at_);
    if (end == at_) return mismatch();
    tree_.setName(std::string_view(tree_.text()).substr(at_, end - at_));
    at_ = end;
    return take("::=") || mismatch();
}

bool kxRuleParser::parseExpression()
{
    groups_.emplace_back();
    for (;;) {
        const char next = look();
        if (wantsElement_) {
            if (!parseElement()) return false;
        } else if (next == ')' && groups_.size() > 1) {
            if (!closeGroup()) return false;
        } else if (next == '|' || next == '-') {
            ++at_;
            if (next == '|')
                append(groups_.back().choice, closeList(groups_.back().sequence, KX_RULE_SEQUENCE));
            wantsElement_ = true;
        } else if (next == 0 || next == ';' || next == ')' || !parseElement()) {
            return fault_.isEmpty();
        }
    }
}

bool kxRuleParser::parseElement()
{
    switch (look()) {
    case '\'':
        return parseQuoted(KX_RULE_LITERAL, kOpenSingleQuote);
    case '"':
        return parseQuoted(KX_RULE_LITERAL, kOpenQuote);
    case '[':
        return parseQuoted(KX_RULE_SET, kOpenSet);
    case '(':
        return openGroup();
    case '$':
        return parseMark();
    default:
        return parseName();
    }
}

bool kxRuleParser::parseQuoted(kxRuleNodeKind kind, const char* fault)
{
    const std::string_view text = tree_.text();
    const std::string_view closer = kxRuleScanner::closerAt(text, at_);
    const auto offset = static_cast<std::uint32_t>(at_);
    std::size_t start = kxRuleScanner::contentAt(closer, at_);
    if (kind == KX_RULE_SET && text.substr(start).starts_with('^')) {
        kind = KX_RULE_SET_NOT;
        ++start;
    }
    const std::size_t end = text.find(closer, start);
    if (end == std::string_view::npos) return fail(fault);
    at_ = end + closer.size();
    return parseBehindElement(
        tree_.add({kind, offset, static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end - start)}),
        false);
}

bool kxRuleParser::parseName()
{
    const std::size_t end = kxRuleScanner::skipName(tree_.text(), at_);
    if (end == at_) return mismatch();
    const auto offset = static_cast<std::uint32_t>(at_);
    const kxRuleNode node{KX_RULE_NAME, offset, offset, static_cast<std::uint32_t>(end) - offset};
    at_ = end;
    return parseBehindElement(tree_.add(node), false);
}

bool kxRuleParser::parseMark()
{
    return parseBehindElement(tree_.add({KX_RULE_MARK, static_cast<std::uint32_t>(at_++)}), false);
}

bool kxRuleParser::openGroup()
{
    if (groups_.size() > KX_RULE_MAX_NESTING) return fail(kTooDeep);
    ++at_;
    groups_.emplace_back();
    wantsElement_ = true;
    return true;
}

bool kxRuleParser::closeGroup()
{
    ++at_;
    Group& group = groups_.back();
    append(group.choice, closeList(group.sequence, KX_RULE_SEQUENCE));
    const std::uint32_t node = closeList(group.choice, KX_RULE_CHOICE);
    groups_.pop_back();
    return parseBehindElement(node, true);
}

// The signs behind an element, and whether it is the last one of a difference.
bool kxRuleParser::parseBehindElement(std::uint32_t node, bool isGroup)
{
    if (!parseRepeats(node, isGroup)) return false;
    Group& group = groups_.back();
    append(group.difference, node);
    if (look() != '-') append(group.sequence, closeList(group.difference, KX_RULE_DIFFERENCE));
    wantsElement_ = false;
    return true;
}

bool kxRuleParser::parseRepeats(std::uint32_t& node, bool isGroup)
{
    for (std::uint32_t depth = 0;; ++depth) {
        const char sign = look();
        std::uint32_t count = 0;
        bool isRepeated = false;
        if (depth > KX_RULE_MAX_NESTING) return fail(kTooDeep);
        if (sign == '{') {
            if (!parseBounds(node)) return false;
            continue;
        }
        if (isGroup && depth == 0 && takeNumber(count)) {
            repeat(node, count, count);
            continue;
        }
        for (const auto& row : kRepeatSigns) {
            if (row.sign == sign) isRepeated = repeat(node, row.minimum, row.maximum);
        }
        if (!isRepeated) return true;
        ++at_;
    }
}

bool kxRuleParser::parseBounds(std::uint32_t& node)
{
    const std::size_t start = at_++;
    std::uint32_t minimum = 0;
    std::uint32_t maximum = 0;
    if (!takeNumber(minimum)) return fail(kNoMinimum);
    if (!take(",")) return fail(kNoComma);
    if (!takeNumber(maximum)) return fail(kNoMaximum);
    if (!take("}")) return fail(kNoBrace);
    if (minimum > maximum) return fail(kMinimumAboveMaximum, start);
    return repeat(node, minimum, maximum);
}

bool kxRuleParser::parseEnd()
{
    if (groups_.size() > 1) return fail(kNoBracket);
    take(";");
    look();
    if (at_ != tree_.text().size()) return mismatch();
    Group& rule = groups_.back();
    append(rule.choice, closeList(rule.sequence, KX_RULE_SEQUENCE));
    closeList(rule.choice, KX_RULE_CHOICE);
    return true;
}

bool kxRuleParser::takeNumber(std::uint32_t& number)
{
    look();
    const char* const text = tree_.text().data();
    const std::size_t end = kxRuleScanner::skipDigits(tree_.text(), at_);
    if (end == at_) return false;
    const auto result = std::from_chars(text + at_, text + end, number);
    if (result.ec == std::errc::result_out_of_range) number = KX_RULE_UNLIMITED;
    at_ = end;
    return true;
}

bool kxRuleParser::take(std::string_view expected)
{
    look();
    if (!std::string_view(tree_.text()).substr(at_).starts_with(expected)) return false;
    at_ += expected.size();
    return true;
}

bool kxRuleParser::repeat(std::uint32_t& node, std::uint32_t minimum, std::uint32_t maximum)
{
    const std::uint32_t offset = tree_.nodes()[node].offset;
    node = tree_.add({KX_RULE_REPEAT, offset, 0, 0, minimum, maximum, node});
    return true;
}

void kxRuleParser::append(List& list, std::uint32_t node)
{
    if (list.first == KX_RULE_NO_NODE)
        list.first = node;
    else
        tree_.link(list.last, node);
    list.last = node;
}

// The members as one node; a single one stays what it is.
std::uint32_t kxRuleParser::closeList(List& list, kxRuleNodeKind kind)
{
    List closed = std::exchange(list, List());
    if (closed.first == closed.last) return closed.first;
    // What must not match stands before what must.
    if (kind == KX_RULE_DIFFERENCE) {
        const std::uint32_t wanted = std::exchange(closed.first, tree_.nodes()[closed.first].next);
        tree_.link(closed.last, wanted);
        tree_.link(wanted, KX_RULE_NO_NODE);
    }
    return tree_.add({kind, tree_.nodes()[closed.first].offset, 0, 0, 0, 0, closed.first});
}

char kxRuleParser::look()
{
    at_ = kxRuleScanner::skipBlanks(tree_.text(), at_);
    return at_ < tree_.text().size() ? tree_.text()[at_] : '\0';
}

// A text that cannot go on. At its end, what is missing first is the bracket that is open.
bool kxRuleParser::mismatch()
{
    const bool isAtEnd = at_ == tree_.text().size() || tree_.text()[at_] == ';';
    return fail(isAtEnd && groups_.size() > 1 ? kNoBracket : kMismatch);
}

bool kxRuleParser::fail(const char* format, std::size_t at)
{
    // A whole comment would have been skipped.
    if (kxRuleScanner::isCommentStart(tree_.text(), at)) format = kOpenComment;
    const kxTextPlace place = tree_.placeOf(at);
    const kxString rest = kxShortName(std::string_view(tree_.text()).substr(at));
    const kxString name = kxShortName(std::string_view(tree_.name()));
    fault_ = kxErrorText(format, name, place.line, place.column, rest);
    return false;
}
