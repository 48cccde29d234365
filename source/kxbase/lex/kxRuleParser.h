// Makes the tree of one rule from its text.
//
//   rule       = name "::=" choice [";"]
//   choice     = sequence { "|" sequence }
//   sequence   = difference { difference }
//   difference = repeat { "-" repeat }
//   repeat     = element { "?" | "*" | "+" | "{" number "," number "}" | number directly behind a group }
//   element    = 'text' | "text" | "[" ["^"] characters "]" | name | "$" | "(" choice ")"
//
// White space and /* comments */ may stand between all of these.
//
// Threads: a plain value.
// Errors:  parse() answers false; fault() is then the English text with the rule's name, line, column and the rest
//          of the text. Numbers beyond 32 bits count as unlimited.
#pragma once

#include "kxbase/lex/kxRuleTree.h"
#include "kxbase/string/kxString.h"

// Brackets within brackets, and signs of repetition behind one another.
constexpr std::uint32_t KX_RULE_MAX_NESTING = 1000;

class kxRuleParser {
public:
    // `place` is where the text begins, when it is a part of a larger one.
    explicit kxRuleParser(std::string_view text, const kxTextPlace& place = {}) : tree_(text, place) {}

    bool parse();
    // The tree of a rule that was parsed; to be called once.
    kxRuleTree takeTree() { return std::move(tree_); }
    const kxString& fault() const { return fault_; }

private:
    // Siblings that are being collected.
    struct List {
        std::uint32_t first = KX_RULE_NO_NODE;
        std::uint32_t last = KX_RULE_NO_NODE;
    };
    // A bracket that is open; the first one is the rule itself.
    struct Group {
        List choice;
        List sequence;
        List difference;
    };

    bool parseHead();
    bool parseExpression();
    bool parseElement();
    bool parseQuoted(kxRuleNodeKind kind, const char* fault);
    bool parseName();
    bool parseMark();
    bool openGroup();
    bool closeGroup();
    bool parseBehindElement(std::uint32_t node, bool isGroup);
    bool parseRepeats(std::uint32_t& node, bool isGroup);
    bool parseBounds(std::uint32_t& node);
    bool parseEnd();
    bool takeNumber(std::uint32_t& number);
    bool take(std::string_view expected);
    bool repeat(std::uint32_t& node, std::uint32_t minimum, std::uint32_t maximum);
    void append(List& list, std::uint32_t node);
    std::uint32_t closeList(List& list, kxRuleNodeKind kind);
    // The character at the position behind blanks; 0 at the end.
    char look();
    bool fail(const char* format) { return fail(format, at_); }
    bool fail(const char* format, std::size_t at);
    bool mismatch();

    kxRuleTree tree_;
    std::size_t at_ = 0;
    std::vector<Group> groups_;
    bool wantsElement_ = true;  // an expression may not end here
    kxString fault_;
};
