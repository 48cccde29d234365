#include "kxbase/lex/kxScanPattern.h"

#include "kxbase/string/kxUtf.h"

#include <algorithm>

namespace {

constexpr struct {
    std::string_view directive;
    std::string_view fragment;
} kDirectives[] = {
    {"e", " $ fEnd fPush "},   {"i", " $ fIdent fPush "}, {"l", " $ fInt fPush "},
    {"n", " $ fNum fPush "},   {"p", " $ fPlain fPush "}, {"s", " $ fStr fPushStr "},
    {"t", " $ fToken fPush "}, {"w", " fWS* "},           {"x", " $ fHex fPush "},
};

// Takes the bytes of the first character off the pattern; of what is no UTF-8, one.
std::string_view takeCharacter(std::string_view& pattern)
{
    const std::string_view character = pattern.substr(0, std::max<std::size_t>(kxUtfPeek(pattern).length, 1));
    pattern.remove_prefix(character.size());
    return character;
}

void appendLiteral(std::string& rule, std::string_view character)
{
    const char quote = character == "'" ? '"' : '\'';
    rule.append(1, quote).append(character).append(1, quote).append(1, ' ');
}

void appendDirective(std::string& rule, std::string_view directive, char decimalSeparator)
{
    if (directive == "n" && decimalSeparator != '.') {
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

// Appends what lies before the closing character, and takes both off the pattern.
bool appendUpTo(char closer, std::string_view before, std::string_view behind, std::string_view& pattern,
                std::string& rule)
{
    const std::size_t end = pattern.find(closer);
    if (end == std::string_view::npos) return false;
    rule.append(before).append(pattern.substr(0, end)).append(behind);
    pattern.remove_prefix(end + 1);
    return true;
}

}  // namespace

bool kxScanPattern::toRule(std::string_view pattern, char decimalSeparator, std::string& rule)
{
    // Without a directive the rule matches nothing, and does match.
    rule = "main::= '' ";
    while (!pattern.empty()) {
        const std::string_view character = takeCharacter(pattern);
        if (character == "[") {
            if (!appendUpTo(']', " $ [", "] ", pattern, rule)) return false;
            continue;
        }
        if (character != "%") {
            appendLiteral(rule, character);
            continue;
        }
        if (pattern.empty()) return false;
        const std::string_view directive = takeCharacter(pattern);
        if (directive != "\"")
            appendDirective(rule, directive, decimalSeparator);
        else if (!appendUpTo('"', " ", " ", pattern, rule))
            return false;
    }
    return true;
}
