// A rule as a tree: what the parser makes of rule text, and what programs are compiled from.
//
// The nodes lie in one array, each behind its children; the last one is the root. A group of one is its member, so
// that brackets leave no trace. Each node knows where it stands in the text.
//
// Ownership: owns the text and the nodes.
// Threads:   read-only once parsed.
// Units:     offsets and lengths are in bytes of the text.
#pragma once

#include "kxbase/lex/kxTextPlace.h"

#include <limits>
#include <string>
#include <vector>

enum kxRuleNodeKind : std::uint8_t {
    KX_RULE_LITERAL,     // 'text' or "text"
    KX_RULE_SET,         // [abc]
    KX_RULE_SET_NOT,     // [^abc]
    KX_RULE_NAME,        // a rule or a function
    KX_RULE_MARK,        // $
    KX_RULE_SEQUENCE,    // all children, one after the other
    KX_RULE_CHOICE,      // the first child that matches
    KX_RULE_DIFFERENCE,  // the last child, where none of those before it matches
    KX_RULE_REPEAT,      // its child, `minimum` to `maximum` times
};

constexpr std::uint32_t KX_RULE_NO_NODE = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t KX_RULE_UNLIMITED = std::numeric_limits<std::uint32_t>::max();

struct kxRuleNode {
    kxRuleNodeKind kind;
    std::uint32_t offset;       // where it begins in the text
    std::uint32_t content = 0;  // where what is in quotes or brackets begins, or the name,
    std::uint32_t length = 0;   // and how long that is
    std::uint32_t minimum = 0;
    std::uint32_t maximum = 0;
    std::uint32_t firstChild = KX_RULE_NO_NODE;
    std::uint32_t next = KX_RULE_NO_NODE;  // the sibling behind it
};

class kxRuleTree {
public:
    kxRuleTree() = default;
    // `place` is that of the text's first character in a larger one.
    kxRuleTree(std::string_view text, const kxTextPlace& place) : text_(text), start_(place) {}

    const std::string& text() const { return text_; }
    const std::string& name() const { return name_; }
    const std::vector<kxRuleNode>& nodes() const { return nodes_; }
    std::uint32_t root() const { return static_cast<std::uint32_t>(nodes_.size() - 1); }
    std::string_view textOf(const kxRuleNode& node) const
    {
        return std::string_view(text_).substr(node.content, node.length);
    }
    kxTextPlace placeOf(std::size_t offset) const;

    void setName(std::string_view name) { name_ = name; }
    std::uint32_t add(const kxRuleNode& node)
    {
        nodes_.push_back(node);
        return root();
    }
    void link(std::uint32_t node, std::uint32_t next) { nodes_[node].next = next; }

    // For people and tests: literals and sets as written, the rest as "sequence(...)", "choice(...)",
    // "unless(...)" for a difference, "repeat{1,*}(...)", "mark".
    std::string print() const;

private:
    std::string text_;
    std::string name_;
    kxTextPlace start_;
    std::vector<kxRuleNode> nodes_;
};
