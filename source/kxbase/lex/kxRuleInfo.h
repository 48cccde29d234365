// A rule of a lexer: its name and its expression.
//
// Ownership: held by the lexer's names and by the programs that were compiled from it.
// Threads:   read-only.
#pragma once

#include "kxbase/lex/kxRuleTree.h"
#include "kxbase/object/kxReference.h"

class kxRuleInfo : public kxReference {
public:
    explicit kxRuleInfo(kxRuleTree tree) : tree_(std::move(tree)) {}

    const std::string& name() const { return tree_.name(); }
    const std::string& text() const { return tree_.text(); }
    const kxRuleTree& tree() const { return tree_; }

private:
    kxRuleTree tree_;
};
