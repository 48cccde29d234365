// A start rule with all rules and functions that it reaches, resolved and checked before anything is compiled: what
// names stand for, what each node can begin with, whether it can match nothing, and whether it comes back to itself
// without having taken anything.
//
// Ownership: holds references to its rules and functions, so that it does not change when names do.
// Threads:   read-only once made.
#pragma once

#include "kxbase/lex/kxLexNames.h"

class kxRuleSet {
public:
    enum class Kind : std::uint8_t { kUnknown, kRule, kFunction };
    // What a name stands for; the index counts rules() or functions().
    struct Target {
        Kind kind = Kind::kUnknown;
        std::uint32_t index = 0;
    };
    struct Rule {
        kxRefPointer<kxRuleInfo> info;
        std::vector<Target> targets;   // of each node that is a name; as many as nodes
        std::vector<kxUnitSet> first;  // what each node can begin with
        // Whether each node can match nothing, for certain: a function, of which nobody knows that, does not count,
        // while the first characters of one that can begin with anything have "nothing" among them.
        std::vector<bool> canBeEmpty;
    };
    // A place in a rule.
    struct Place {
        std::uint32_t rule;
        std::uint32_t node;
    };

    // Everything that the rule `start`, which becomes rule 0, can reach.
    kxRuleSet(const kxLexNames& names, kxRuleInfo& start, bool isWide);

    const std::vector<Rule>& rules() const { return rules_; }
    const std::vector<kxRefPointer<kxFuncInfo>>& functions() const { return functions_; }
    bool isWide() const { return isWide_; }
    // Whether a literal or a set is no UTF-8 although characters are wide.
    bool hasFaultyText() const { return hasFaultyText_; }
    // The call through which a rule comes back to itself first; null when there is none.
    const Place* leftRecursion() const { return hasLeftRecursion_ ? &leftRecursion_ : nullptr; }

    // For people and tests: a line for each rule.
    std::string print() const;

private:
    class Reach;
    class Judge;

    void findLeftCalls(std::uint32_t rule, std::vector<Place>& calls) const;
    void findLeftRecursion();

    std::vector<Rule> rules_;
    std::vector<kxRefPointer<kxFuncInfo>> functions_;
    std::vector<std::vector<Place>> uses_;  // of each rule, the nodes that name it
    bool isWide_;
    bool hasFaultyText_ = false;
    bool hasLeftRecursion_ = false;
    Place leftRecursion_{};
};
