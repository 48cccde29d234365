#include "kxbase/lex/kxScanPattern.h"

#include "kxbase/lex/kxRuleScanner.h"

namespace {

constexpr struct {
    char directive;
    std::string_view fragment;
} kDirectives[] = {
    {'e', " $ fEnd fPush "},   {'i', " $ fIdent fPush "}, {'l', " $ fInt fPush "},
    {'n', " $ fNum fPush "},   {'p', " $ fPlain fPush "}, {'s', " $ fStr fPushStr "},
    {'t', " $ fToken fPush "}, {'w', " fWS* "},           {'x', " $ fHex fPush "},
};

void appendLiteral(std::string& rule, char character)
{
    const char quote = character == '\'' ? '"' : '\'';
    rule.append(1, quote).append(1, character).append(1, quote).append(1, ' ');
}

void appendDirective(std::string& rule, char directive, char decimalSeparator)
{
    if (directive == 'n' && decimalSeparator != '.') {
        rule += " $ fCNum fPush ";
        return;
    }
    for (const auto& row : kDirectives) {
        if (row.directive != directive) continue;
        rule += row.fragment;
        return;
    }
    rule += " '%' ";
    appendLiteral(rule, directive);
}

}  // namespace

bool kxScanPattern::toRule(std::string_view pattern, char decimalSeparator, std::string& rule)
{
    // Without a directive the rule matches nothing, and does match.
    rule = "main::= '' ";
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        const char character = pattern[at];
        if (character != '%' && character != '[') {
            appendLiteral(rule, character);
            continue;
        }
        const std::size_t start = at + (character == '%' ? 2 : 1);
        if (character == '%' && start > pattern.size()) return false;
        if (character == '%' && pattern[at + 1] != '"') {
            appendDirective(rule, pattern[++at], decimalSeparator);
            continue;
        }
        const std::size_t end = pattern.find(character == '[' ? ']' : '"', start);
        if (end == std::string_view::npos) return false;
        const std::string_view inside = pattern.substr(start, end - start);
        rule += character == '[' ? " $ [" : " ";
        rule.append(inside).append(character == '[' ? "] " : " ");
        at = end;
    }
    return true;
}
