#include "kxbase/lex/kxRuleSet.h"

#include "kxbase/lex/kxRuleUnits.h"

#include <algorithm>
#include <deque>
#include <unordered_map>

namespace {

// First characters only save time. Sets of rules that refer to each other in knots are given up on.
constexpr std::uint64_t kExactRoundsForEachRule = 64;

// Calls visit(child) for the children of a node until it answers false.
template <typename Visit> void forChildren(const kxRuleTree& tree, std::uint32_t node, Visit visit)
{
    for (std::uint32_t child = tree.nodes()[node].firstChild; child != KX_RULE_NO_NODE;
         child = tree.nodes()[child].next) {
        if (!visit(child)) return;
    }
}

}  // namespace

// Gives the names their targets and numbers rules and functions as they are met.
class kxRuleSet::Reach {
public:
    Reach(const kxLexNames& names, kxRuleSet& set) : names_(names), set_(set) {}

    void go(kxRuleInfo& start)
    {
        enter(&start);
        for (std::uint32_t rule = 0; rule < set_.rules_.size(); ++rule) resolve(rule);
    }

private:
    std::uint32_t enter(kxRuleInfo* info)
    {
        const auto [place, isNew] =
            ruleIndex_.try_emplace(info, static_cast<std::uint32_t>(set_.rules_.size()));
        if (!isNew) return place->second;
        const std::size_t nodes = info->tree().nodes().size();
        set_.rules_.push_back(
            {info, std::vector<Target>(nodes), std::vector<kxUnitSet>(nodes), std::vector<bool>(nodes)});
        set_.users_.emplace_back();
        return place->second;
    }
    std::uint32_t enter(kxFuncInfo* info)
    {
        const auto count = static_cast<std::uint32_t>(set_.functions_.size());
        const auto [place, isNew] = functionIndex_.try_emplace(info, count);
        if (isNew) set_.functions_.emplace_back(info);
        return place->second;
    }
    Target targetOf(std::string_view text)
    {
        const kxString name(text);
        if (kxRuleInfo* const rule = names_.findRule(name)) return {Kind::kRule, enter(rule)};
        if (kxFuncInfo* const function = names_.findFunction(name)) return {Kind::kFunction, enter(function)};
        return {};
    }
    void resolve(std::uint32_t rule)
    {
        const kxRefPointer<kxRuleInfo> info = set_.rules_[rule].info;
        const std::vector<kxRuleNode>& nodes = info->tree().nodes();
        for (std::uint32_t node = 0; node < nodes.size(); ++node) {
            if (nodes[node].kind != KX_RULE_NAME) continue;
            const Target target = targetOf(info->tree().textOf(nodes[node]));
            set_.rules_[rule].targets[node] = target;
            if (target.kind != Kind::kRule) continue;
            std::vector<std::uint32_t>& users = set_.users_[target.index];
            if (users.empty() || users.back() != rule) users.push_back(rule);
        }
    }

    const kxLexNames& names_;
    kxRuleSet& set_;
    std::unordered_map<const kxRuleInfo*, std::uint32_t> ruleIndex_;
    std::unordered_map<const kxFuncInfo*, std::uint32_t> functionIndex_;
};

kxRuleSet::kxRuleSet(const kxLexNames& names, kxRuleInfo& start, bool isWide) : isWide_(isWide)
{
    Reach(names, *this).go(start);
    exactRounds_ = rules_.size() * kExactRoundsForEachRule;
    judgeAll();
    findLeftRecursion();
}

// Until nothing changes: what is known of a rule only ever grows.
void kxRuleSet::judgeAll()
{
    std::deque<std::uint32_t> waiting;
    std::vector<bool> isWaiting(rules_.size(), true);
    for (auto rule = static_cast<std::uint32_t>(rules_.size()); rule-- != 0;) waiting.push_back(rule);
    while (!waiting.empty()) {
        const std::uint32_t rule = waiting.front();
        waiting.pop_front();
        isWaiting[rule] = false;
        if (!judgeRule(rules_[rule])) continue;
        for (const std::uint32_t user : users_[rule]) {
            if (!isWaiting[user]) waiting.push_back(user);
            isWaiting[user] = true;
        }
    }
}

bool kxRuleSet::judgeRule(Rule& rule)
{
    const std::uint32_t root = rule.info->tree().root();
    const kxUnitSet firstBefore = rule.first[root];
    const bool emptyBefore = rule.canBeEmpty[root];
    for (std::uint32_t node = 0; node <= root; ++node) judgeNode(rule, node);
    if (exactRounds_ == 0)
        rule.first[root] = kxUnitSet::all();
    else
        --exactRounds_;
    return !(rule.first[root] == firstBefore) || rule.canBeEmpty[root] != emptyBefore;
}

void kxRuleSet::judgeNode(Rule& rule, std::uint32_t node)
{
    const kxRuleNode& what = rule.info->tree().nodes()[node];
    kxUnitSet& first = rule.first[node];
    switch (what.kind) {
    case KX_RULE_LITERAL:
    case KX_RULE_SET:
    case KX_RULE_SET_NOT:
        first = unitsOf(rule, node);
        rule.canBeEmpty[node] = first.hasNothing();
        break;
    case KX_RULE_MARK:
        first.addNothing();
        rule.canBeEmpty[node] = true;
        break;
    case KX_RULE_NAME:
        judgeName(rule, node);
        break;
    case KX_RULE_SEQUENCE:
        judgeSequence(rule, node);
        break;
    case KX_RULE_CHOICE:
        forChildren(rule.info->tree(), node, [&](std::uint32_t child) {
            first |= rule.first[child];
            rule.canBeEmpty[node] = rule.canBeEmpty[node] || rule.canBeEmpty[child];
            return true;
        });
        break;
    case KX_RULE_DIFFERENCE:
        forChildren(rule.info->tree(), node, [&](std::uint32_t child) {
            first = rule.first[child];
            rule.canBeEmpty[node] = rule.canBeEmpty[child];
            return true;
        });
        break;
    case KX_RULE_REPEAT:
        if (what.maximum != 0) first = rule.first[what.firstChild];
        if (what.minimum == 0) first.addNothing();
        rule.canBeEmpty[node] = what.minimum == 0 || rule.canBeEmpty[what.firstChild];
        break;
    }
}

void kxRuleSet::judgeName(Rule& rule, std::uint32_t node)
{
    const Target& target = rule.targets[node];
    if (target.kind == Kind::kUnknown) {
        rule.first[node] = kxUnitSet::all();
    } else if (target.kind == Kind::kRule) {
        const Rule& called = rules_[target.index];
        rule.first[node] = called.first[called.info->tree().root()];
        rule.canBeEmpty[node] = called.canBeEmpty[called.info->tree().root()];
    } else if (functions_[target.index]->isAction()) {
        rule.first[node].addNothing();
        rule.canBeEmpty[node] = true;
    } else {
        rule.first[node] = functions_[target.index]->first();
    }
}

void kxRuleSet::judgeSequence(Rule& rule, std::uint32_t node)
{
    kxUnitSet first;
    first.addNothing();
    bool isEmpty = true;
    forChildren(rule.info->tree(), node, [&](std::uint32_t child) {
        if (first.hasNothing()) {
            first.removeNothing();
            first |= rule.first[child];
        }
        isEmpty = isEmpty && rule.canBeEmpty[child];
        return true;
    });
    rule.first[node] = first;
    rule.canBeEmpty[node] = isEmpty;
}

kxUnitSet kxRuleSet::unitsOf(const Rule& rule, std::uint32_t node)
{
    const kxRuleTree& tree = rule.info->tree();
    const kxRuleNodeKind kind = tree.nodes()[node].kind;
    std::u16string units;
    if (!kxRuleUnits::decode(tree.textOf(tree.nodes()[node]), isWide_, units)) hasFaultyText_ = true;
    kxUnitSet set;
    if (kind == KX_RULE_LITERAL && units.empty()) set.addNothing();
    if (kind == KX_RULE_LITERAL && !units.empty()) units.resize(1);
    for (const char16_t unit : units) set.add(unit);
    if (kind != KX_RULE_SET_NOT) return set;
    set.invert();
    // A few high units that are left out leave the others in.
    set.add(kxUnitSet::kHigh);
    return set;
}

// ---- left recursion

// The calls of rules that a rule reaches before it has taken anything.
void kxRuleSet::findLeftCalls(std::uint32_t index, std::vector<Place>& calls) const
{
    const Rule& rule = rules_[index];
    const kxRuleTree& tree = rule.info->tree();
    std::vector<bool> isLeft(tree.nodes().size());
    isLeft[tree.root()] = true;
    for (std::uint32_t node = tree.root() + 1; node-- != 0;) {
        if (!isLeft[node]) continue;
        const kxRuleNode& what = tree.nodes()[node];
        if (rule.targets[node].kind == Kind::kRule) calls.push_back({rule.targets[node].index, node});
        if (what.kind == KX_RULE_REPEAT && what.maximum == 0) continue;
        forChildren(tree, node, [&](std::uint32_t child) {
            isLeft[child] = true;
            return what.kind != KX_RULE_SEQUENCE || rule.canBeEmpty[child];
        });
    }
}

void kxRuleSet::findLeftRecursion()
{
    struct Visit {
        std::uint32_t rule;
        std::vector<Place> calls;  // of each the rule that is called, and the node of the call
    };
    enum : std::uint8_t { kNew, kOpen, kDone };
    std::vector<std::uint8_t> state(rules_.size(), kNew);
    std::vector<Visit> path;
    const auto enter = [&](std::uint32_t rule) {
        state[rule] = kOpen;
        path.push_back({rule, {}});
        findLeftCalls(rule, path.back().calls);
    };
    for (std::uint32_t start = 0; start < rules_.size() && !hasLeftRecursion_; ++start) {
        if (state[start] == kNew) enter(start);
        while (!path.empty() && !hasLeftRecursion_) {
            Visit& visit = path.back();
            if (visit.calls.empty()) {
                state[visit.rule] = kDone;
                path.pop_back();
                continue;
            }
            const Place call = visit.calls.back();
            visit.calls.pop_back();
            hasLeftRecursion_ = state[call.rule] == kOpen;
            if (hasLeftRecursion_) leftRecursion_ = {visit.rule, call.node};
            if (state[call.rule] == kNew) enter(call.rule);
        }
    }
}

std::string kxRuleSet::print() const
{
    std::string out;
    for (const Rule& rule : rules_) {
        const std::uint32_t root = rule.info->tree().root();
        out += rule.info->name() + (rule.canBeEmpty[root] ? "? " : " ") + rule.first[root].print() + "\n";
    }
    return out;
}
