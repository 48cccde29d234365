// Walks a tree, or a part of one, with a stack of its own, so that no depth of brackets reaches the machine's stack.
//
// A visitor has
//   bool enter(Step&)   before a node's children; false leaves them out, and leave() with them
//   void child(Step&)   before each child; step.child counts from 0
//   void leave(Step&)   behind the last child
// and may keep four numbers of its own in the step.
#pragma once

#include "kxbase/lex/kxRuleTree.h"

struct kxRuleStep {
    std::uint32_t node;
    std::uint32_t nextChild;
    std::uint32_t child = 0;
    std::uint32_t place = KX_RULE_NO_NODE;
    std::uint32_t chain = KX_RULE_NO_NODE;
    std::uint32_t table = KX_RULE_NO_NODE;
    std::uint32_t roundEnd = KX_RULE_NO_NODE;
};

template <typename Visitor> void kxRuleWalk(const kxRuleTree& tree, std::uint32_t top, Visitor& visitor)
{
    std::vector<kxRuleStep> steps;
    const auto enter = [&](std::uint32_t node) {
        steps.push_back({node, tree.nodes()[node].firstChild});
        if (!visitor.enter(steps.back())) steps.pop_back();
    };
    enter(top);
    while (!steps.empty()) {
        kxRuleStep& step = steps.back();
        const std::uint32_t node = step.nextChild;
        if (node == KX_RULE_NO_NODE) {
            visitor.leave(step);
            steps.pop_back();
            continue;
        }
        visitor.child(step);
        ++step.child;
        step.nextChild = tree.nodes()[node].next;
        enter(node);
    }
}
