// Walks a tree, or a part of one, with a stack of its own, so that no depth of brackets reaches the machine's stack.
//
// A visitor has a type Step, a kxRuleStep or derived from it for what the visitor itself keeps of a node, and
//   bool enter(Step&, const Step* parent)   before a node's children; false leaves them out, and leave() with them
//   void child(Step&)                       before each child; step.child counts from 0
//   void leave(Step&)                       behind the last child
// The parent of the node at which the walk begins is null.
#pragma once

#include "kxbase/lex/kxRuleTree.h"

struct kxRuleStep {
    std::uint32_t node = KX_RULE_NO_NODE;
    std::uint32_t nextChild = KX_RULE_NO_NODE;
    std::uint32_t child = 0;
};

template <typename Visitor> void kxRuleWalk(const kxRuleTree& tree, std::uint32_t top, Visitor& visitor)
{
    using Step = typename Visitor::Step;
    std::vector<Step> steps;
    const auto enter = [&](std::uint32_t node) {
        Step& step = steps.emplace_back();
        step.node = node;
        step.nextChild = tree.nodes()[node].firstChild;
        if (!visitor.enter(step, steps.size() == 1 ? nullptr : &step - 1)) steps.pop_back();
    };
    enter(top);
    while (!steps.empty()) {
        Step& step = steps.back();
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
