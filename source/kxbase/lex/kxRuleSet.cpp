#include "kxbase/lex/kxRuleSet.h"

#include "kxbase/lex/kxRuleUnits.h"

#include <algorithm>
#include <deque>
#include <unordered_map>

namespace {

// Calls visit(child) for the children of a node until it answers false.
template <typename Visit> void forChildren(const kxRuleTree& tree, std::uint32_t node, Visit visit)
{
    for (std::uint32_t child = tree.nodes()[node].firstChild; child != KX_RULE_NO_NODE;
         child = tree.nodes()[child].next) {
        if (!visit(child)) return;
    }
}

bool isHalf(char16_t unit)
{
    return kxIsHighSurrogate(unit) || kxIsLowSurrogate(unit);
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
        set_.uses_.emplace_back();
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
            if (target.kind == Kind::kRule) set_.uses_[target.index].push_back({rule, node});
        }
    }

    const kxLexNames& names_;
    kxRuleSet& set_;
    std::unordered_map<const kxRuleInfo*, std::uint32_t> ruleIndex_;
    std::unordered_map<const kxFuncInfo*, std::uint32_t> functionIndex_;
};

// Finds what nodes can begin with and which can be empty. What is known of a node only grows, and every time it does
// its parent is told; a root's parents are the names that stand for its rule. So each node is looked at as often as
// its children learn something, however the rules refer to each other.
class kxRuleSet::Judge {
public:
    explicit Judge(kxRuleSet& set) : set_(set) {}

    void go()
    {
        for (const Rule& rule : set_.rules_) {
            const std::vector<kxRuleNode>& nodes = rule.info->tree().nodes();
            Links links{std::vector<std::uint32_t>(nodes.size(), KX_RULE_NO_NODE),
                        {},
                        {},
                        std::vector<bool>(nodes.size())};
            for (std::uint32_t node = 0; node < nodes.size(); ++node) {
                links.firstEnd.push_back(nodes[node].firstChild);
                forChildren(rule.info->tree(), node, [&](std::uint32_t child) {
                    links.parent[child] = node;
                    return true;
                });
            }
            links.emptyEnd = links.firstEnd;
            links_.push_back(std::move(links));
        }
        // Called rules come before their callers mostly, and children before their parents.
        for (auto rule = static_cast<std::uint32_t>(set_.rules_.size()); rule-- != 0;) {
            for (std::uint32_t node = 0; node < links_[rule].parent.size(); ++node) {
                begin({rule, node});
                wait({rule, node});
            }
        }
        for (; !waiting_.empty(); waiting_.pop_front()) tell(waiting_.front());
    }

private:
    // Of the nodes of a rule.
    struct Links {
        std::vector<std::uint32_t> parent;
        // Of a sequence the first child that cannot begin with nothing, and the first that cannot be empty.
        std::vector<std::uint32_t> firstEnd;
        std::vector<std::uint32_t> emptyEnd;
        std::vector<bool> isWaiting;
    };

    const kxRuleNode& nodeAt(const Place& place) const
    {
        return set_.rules_[place.rule].info->tree().nodes()[place.node];
    }
    kxUnitSet& first(const Place& place) { return set_.rules_[place.rule].first[place.node]; }
    std::vector<bool>::reference canBeEmpty(const Place& place)
    {
        return set_.rules_[place.rule].canBeEmpty[place.node];
    }

    // What a node knows by itself.
    void begin(const Place& place)
    {
        const kxRuleNode& node = nodeAt(place);
        bool isEmpty = node.kind == KX_RULE_MARK || (node.kind == KX_RULE_REPEAT && node.minimum == 0);
        if (node.kind == KX_RULE_LITERAL || node.kind == KX_RULE_SET || node.kind == KX_RULE_SET_NOT) {
            first(place) = unitsOf(place);
            isEmpty = first(place).hasNothing();
        }
        const Target target = set_.rules_[place.rule].targets[place.node];
        if (node.kind == KX_RULE_NAME && target.kind == Kind::kUnknown) first(place) = kxUnitSet::all();
        if (target.kind == Kind::kFunction) {
            const kxFuncInfo& function = *set_.functions_[target.index];
            isEmpty = function.isAction();
            if (!isEmpty) first(place) = function.first();
        }
        if (isEmpty) first(place).addNothing();
        canBeEmpty(place) = isEmpty;
    }
    void wait(const Place& place)
    {
        std::vector<bool>::reference isWaiting = links_[place.rule].isWaiting[place.node];
        if (!isWaiting) waiting_.push_back(place);
        isWaiting = true;
    }
    void tell(const Place place)
    {
        links_[place.rule].isWaiting[place.node] = false;
        const std::uint32_t parent = links_[place.rule].parent[place.node];
        if (parent != KX_RULE_NO_NODE) {
            learn({place.rule, parent}, place);
            return;
        }
        for (const Place& use : set_.uses_[place.rule]) learn(use, place);
    }
    // `parent` learns what is known of a child.
    void learn(const Place& parent, const Place& child)
    {
        const kxUnitSet firstBefore = first(parent);
        const bool emptyBefore = canBeEmpty(parent);
        const kxRuleNode& node = nodeAt(parent);
        if (node.kind == KX_RULE_SEQUENCE) {
            learnInOrder(parent, child);
        } else if (node.kind == KX_RULE_DIFFERENCE ? nodeAt(child).next == KX_RULE_NO_NODE
                                                   : node.kind != KX_RULE_REPEAT || node.maximum != 0) {
            first(parent) |= first(child);
            canBeEmpty(parent) = emptyBefore || canBeEmpty(child);
        }
        if (!(first(parent) == firstBefore) || canBeEmpty(parent) != emptyBefore) wait(parent);
    }
    // The children of a sequence lie in its order.
    void learnInOrder(const Place& parent, const Place& child)
    {
        std::uint32_t& end = links_[parent.rule].firstEnd[parent.node];
        if (child.node <= end) addFirst(parent, child.node);
        while (end != KX_RULE_NO_NODE && first({parent.rule, end}).hasNothing()) {
            end = nodeAt({parent.rule, end}).next;
            if (end != KX_RULE_NO_NODE) addFirst(parent, end);
        }
        if (end == KX_RULE_NO_NODE) first(parent).addNothing();
        std::uint32_t& emptyEnd = links_[parent.rule].emptyEnd[parent.node];
        while (emptyEnd != KX_RULE_NO_NODE && canBeEmpty({parent.rule, emptyEnd}))
            emptyEnd = nodeAt({parent.rule, emptyEnd}).next;
        canBeEmpty(parent) = emptyEnd == KX_RULE_NO_NODE;
    }
    void addFirst(const Place& parent, std::uint32_t child)
    {
        kxUnitSet units = first({parent.rule, child});
        units.removeNothing();
        first(parent) |= units;
    }
    kxUnitSet unitsOf(const Place& place)
    {
        const kxRuleNode& node = nodeAt(place);
        std::u16string units;
        const std::string_view text = set_.rules_[place.rule].info->tree().textOf(node);
        if (!kxRuleUnits::decode(text, set_.isWide_, units)) set_.hasFaultyText_ = true;
        kxUnitSet set;
        if (node.kind == KX_RULE_LITERAL) {
            if (units.empty()) set.addNothing();
            if (!units.empty()) set.add(units.front());
            return set;
        }
        for (const char16_t unit : units) set.add(unit);
        // Half a character is none that a set could hold.
        if (set_.isWide_ && std::any_of(units.begin(), units.end(), isHalf)) set_.hasFaultyText_ = true;
        if (node.kind == KX_RULE_SET) return set;
        set.invert();
        // A few high units that are left out leave the others in.
        set.add(kxUnitSet::kHigh);
        return set;
    }

    kxRuleSet& set_;
    std::vector<Links> links_;
    std::deque<Place> waiting_;
};

kxRuleSet::kxRuleSet(const kxLexNames& names, kxRuleInfo& start, bool isWide) : isWide_(isWide)
{
    Reach(names, *this).go(start);
    Judge(*this).go();
    findLeftRecursion();
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
