#include "kxbase/lex/kxRuleCompiler.h"

#include "kxbase/lex/kxRuleUnits.h"
#include "kxbase/lex/kxRuleWalk.h"

#include <algorithm>
#include <map>
#include <unordered_map>

namespace {

constexpr std::uint32_t kNone = KX_RULE_NO_NODE;
// A rule of more nodes is not worth putting in where it is called.
constexpr std::size_t kInlineNodes = 40;
constexpr std::uint32_t kInlineDepth = 4;
// Behind so many instructions rules are only called.
constexpr std::uint32_t kInlineCode = 65536;
// Alternatives that are compared with one; among more, some will begin alike.
constexpr std::uint32_t kComparedAlternatives = 64;
constexpr std::uint32_t kSingleDepth = 8;
constexpr std::uint32_t kMostBytesOfUnit = 3;  // of UTF-8
// Fewer alternatives are told apart by their tests.
constexpr std::uint32_t kSwitchAlternatives = 3;
constexpr std::size_t kMostTables = 4096;

class Compiler {
public:
    Compiler(const kxRuleSet& set, kxRuleCode kind) : set_(set), isPlain_(kind == kxRuleCode::kPlain)
    {
        program_.functions = set.functions();
        for (const kxRuleSet::Rule& rule : set.rules()) program_.rules.push_back(rule.info);
    }

    kxRuleProgram compile()
    {
        emit(KX_OP_CALL, 0);
        emit(KX_OP_DONE);
        for (const kxRuleSet::Rule& rule : set_.rules()) {
            program_.entries.push_back(here());
            compileRule(rule);
            emit(KX_OP_RETURN);
        }
        for (kxInstruction& instruction : program_.code) {
            if (instruction.operation == KX_OP_CALL) instruction.b = program_.entries[instruction.a];
        }
        return std::move(program_);
    }

    // ---- the walk over a rule

    // A chain is made of instructions whose target is not known yet; each holds the one before it instead, the first
    // one kNone.
    using Chain = std::uint32_t;

    // What is kept of a choice, a difference or a repetition while its children are compiled.
    struct Step : kxRuleStep {
        Chain behind = kNone;         // what goes behind the whole of it
        Chain next = kNone;           // choice, difference: what goes behind the child that is being compiled
        std::uint32_t table = kNone;  // choice: its table
        bool hasChoice = false;       // choice: the alternative that is being compiled has a CHOICE
        bool takesAll = false;  // choice: the next alternative is one character, and is to take all it can
        std::uint32_t round = kNone;  // repeat: where a round begins
        Chain roundEnd = kNone;       // repeat: a JUMP to its AGAIN
        bool isEndless = false;       // repeat, and its choice: rounds may take single characters all at once
    };

    bool enter(Step& step, const Step* parent)
    {
        const kxRuleNode& node = nodeAt(step.node);
        if (open_.size() == 1) offset_ = node.offset;
        if (parent != nullptr && parent->takesAll)
            return emit(KX_OP_SPAN, singleSet(*rule_, step.node, kSingleDepth), 1);
        switch (node.kind) {
        case KX_RULE_LITERAL:
            return literal(node);
        case KX_RULE_SET:
        case KX_RULE_SET_NOT:
            return emit(KX_OP_SET, writtenSet(*rule_, step.node));
        case KX_RULE_MARK:
            return emit(KX_OP_MARK);
        case KX_RULE_NAME:
            return name(step.node);
        case KX_RULE_REPEAT:
            return beginRepeat(step, node);
        case KX_RULE_CHOICE:
            step.isEndless = parent != nullptr && parent->isEndless;
            return beginChoice(step, node);
        default:
            return true;
        }
    }
    void child(Step& step)
    {
        const kxRuleNodeKind kind = nodeAt(step.node).kind;
        if (kind == KX_RULE_CHOICE) {
            beginAlternative(step);
            step.takesAll = isRoundOfCharacters(step);
        }
        if (kind == KX_RULE_DIFFERENCE) beginUnwanted(step);
    }
    void leave(Step& step)
    {
        const kxRuleNode& node = nodeAt(step.node);
        if (node.kind == KX_RULE_CHOICE) closeChain(step.behind);
        if (node.kind == KX_RULE_REPEAT) endRepeat(step, node);
    }

private:
    struct Text {  // in the texts of the program
        std::uint32_t start;
        std::uint32_t length;
    };

    const kxRuleNode& nodeAt(std::uint32_t node) const { return rule_->info->tree().nodes()[node]; }
    std::uint32_t here() const { return static_cast<std::uint32_t>(program_.code.size()); }
    // Answers false, for leaves of the walk.
    bool emit(kxOperation operation, std::uint32_t a = 0, std::uint32_t b = 0)
    {
        program_.code.push_back({operation, a, b, offset_});
        return false;
    }
    // An instruction that goes to where its chain is closed.
    void emitForward(kxOperation operation, std::uint32_t a, Chain& chain)
    {
        emit(operation, a, chain);
        chain = here() - 1;
    }
    void closeChain(Chain& chain)
    {
        while (chain != kNone) chain = std::exchange(program_.code[chain].b, here());
    }

    void compileRule(const kxRuleSet::Rule& rule)
    {
        const kxRuleSet::Rule* const outer = std::exchange(rule_, &rule);
        open_.push_back(&rule);
        const std::uint32_t root = rule.info->tree().root();
        if (isPlain_ || !isList())
            kxRuleWalk(rule.info->tree(), root, *this);
        else
            compileList(root);
        open_.pop_back();
        rule_ = outer;
    }
    // Whether the rule is `a (b self)?`, which is `a (b a)*` when it has no marks and actions of its own. Rounds need
    // no stack, so that lists may be as long as the input.
    bool isList() const
    {
        const kxRuleTree& tree = rule_->info->tree();
        for (std::uint32_t node = 0; node <= tree.root(); ++node) {
            const kxRuleSet::Target& target = rule_->targets[node];
            if (nodeAt(node).kind == KX_RULE_MARK) return false;
            if (target.kind == kxRuleSet::Kind::kFunction && set_.functions()[target.index]->isAction())
                return false;
        }
        const std::uint32_t rest = lastOf(tree.root(), KX_RULE_SEQUENCE);
        if (rest == kNone || nodeAt(rest).kind != KX_RULE_REPEAT || !isOptional(nodeAt(rest))) return false;
        const std::uint32_t self = lastOf(nodeAt(rest).firstChild, KX_RULE_SEQUENCE);
        return self != kNone && rule_->targets[self].kind == kxRuleSet::Kind::kRule &&
               &set_.rules()[rule_->targets[self].index] == rule_;
    }
    // The last child of a node of that kind.
    std::uint32_t lastOf(std::uint32_t node, kxRuleNodeKind kind) const
    {
        if (nodeAt(node).kind != kind) return kNone;
        std::uint32_t child = nodeAt(node).firstChild;
        while (nodeAt(child).next != kNone) child = nodeAt(child).next;
        return child;
    }
    void compileList(std::uint32_t root)
    {
        const std::uint32_t rest = compileButLast(root);
        kxRuleNode rounds = nodeAt(rest);
        rounds.maximum = KX_RULE_UNLIMITED;
        Step step;
        beginRepeat(step, rounds);
        compileButLast(rounds.firstChild);
        compileButLast(root);
        endRepeat(step, rounds);
    }
    // Answers the last child, which is not compiled.
    std::uint32_t compileButLast(std::uint32_t node)
    {
        std::uint32_t child = nodeAt(node).firstChild;
        for (; nodeAt(child).next != kNone; child = nodeAt(child).next)
            kxRuleWalk(rule_->info->tree(), child, *this);
        return child;
    }

    // ---- leaves

    bool literal(const kxRuleNode& node)
    {
        if (node.length == 0) return false;
        if (const std::u16string units = shortUnitsOf(*rule_, node); units.size() == 1)
            return emit(KX_OP_UNIT, units.front());
        const auto end = static_cast<std::uint32_t>(program_.texts.size());
        const auto [place, isNew] = textOfNode_.try_emplace(&node, Text{end, 0});
        Text& text = place->second;
        if (isNew) {
            program_.texts += unitsOf(*rule_, node);
            text.length = static_cast<std::uint32_t>(program_.texts.size()) - end;
        }
        return emit(KX_OP_TEXT, text.start, text.length);
    }
    bool name(std::uint32_t node)
    {
        const kxRuleSet::Target target = rule_->targets[node];
        if (target.kind == kxRuleSet::Kind::kUnknown) {
            program_.names.emplace_back(rule_->info->tree().textOf(nodeAt(node)));
            return emit(KX_OP_UNKNOWN, static_cast<std::uint32_t>(program_.names.size() - 1));
        }
        if (target.kind == kxRuleSet::Kind::kFunction) return function(node, target.index);
        const kxRuleSet::Rule& called = set_.rules()[target.index];
        if (isPlain_ || !canBeInlined(called)) return emit(KX_OP_CALL, target.index);
        if (open_.size() == 1) inlineNodesLeft_ = kInlineNodes;
        inlineNodesLeft_ -= called.info->tree().nodes().size();
        compileRule(called);
        return false;
    }
    bool function(std::uint32_t node, std::uint32_t index)
    {
        const kxFuncInfo& info = *set_.functions()[index];
        if (info.isAction()) return emit(isBehindBlank(node) ? KX_OP_BLANK : KX_OP_PUSH, index);
        if (isPlain_ || info.kind() != KX_FUNC_CHARACTER) return emit(KX_OP_NATIVE, index);
        return emit(KX_OP_SET, setOf(info.first()));
    }
    // Whether fPush stands directly behind the white-space function.
    bool isBehindBlank(std::uint32_t node) const
    {
        if (rule_->info->tree().textOf(nodeAt(node)) != "fPush" || node == 0) return false;
        const kxRuleSet::Target before = rule_->targets[node - 1];
        return before.kind == kxRuleSet::Kind::kFunction && nodeAt(node - 1).next == node &&
               set_.functions()[before.index]->name() == "fWS";
    }
    // Rules that neither mark nor run functions of the program, and are small with all that is put into them.
    bool canBeInlined(const kxRuleSet::Rule& rule) const
    {
        const std::vector<kxRuleNode>& nodes = rule.info->tree().nodes();
        const std::size_t nodesLeft = open_.size() == 1 ? kInlineNodes : inlineNodesLeft_;
        if (here() >= kInlineCode || open_.size() > kInlineDepth || nodes.size() > nodesLeft) return false;
        if (std::find(open_.begin(), open_.end(), &rule) != open_.end()) return false;
        for (std::uint32_t node = 0; node < nodes.size(); ++node) {
            const kxRuleSet::Target& target = rule.targets[node];
            if (nodes[node].kind == KX_RULE_MARK) return false;
            if (nodes[node].kind != KX_RULE_NAME || isCharacter(target)) continue;
            // One that calls itself would only become one level deeper.
            if (target.kind != kxRuleSet::Kind::kRule || &set_.rules()[target.index] == &rule) return false;
        }
        return true;
    }
    bool isCharacter(const kxRuleSet::Target& target) const
    {
        return target.kind == kxRuleSet::Kind::kFunction &&
               set_.functions()[target.index]->kind() == KX_FUNC_CHARACTER;
    }

    // ---- choices and differences

    //   a | b | c            SWITCH table         from three alternatives on: goes to the first one below that can
    //                        TEST first(a), b     begin with the next unit, behind its TEST
    //                        CHOICE b             only where a later alternative begins with the same
    //                        ...a...
    //                        COMMIT end           without a CHOICE, JUMP end
    //                     b: TEST first(b), c
    //                        ...
    //                     c: ...c...
    //                   end:

    bool beginChoice(Step& step, const kxRuleNode& node)
    {
        std::uint32_t alternatives = 0;
        for (std::uint32_t child = node.firstChild; child != kNone && alternatives < kSwitchAlternatives;
             child = nodeAt(child).next)
            ++alternatives;
        if (isPlain_ || alternatives < kSwitchAlternatives || rule_->first[node.firstChild].hasNothing() ||
            program_.tables.size() == kMostTables)
            return true;
        step.table = static_cast<std::uint32_t>(program_.tables.size());
        program_.tables.emplace_back().fill(kNone);
        emit(KX_OP_SWITCH, step.table);
        return true;
    }
    void addToTable(std::uint32_t table, const kxUnitSet& units, std::uint32_t target)
    {
        if (table == kNone) return;
        kxProgramTable& targets = program_.tables[table];
        for (char16_t unit = 0; unit < targets.size(); ++unit) {
            if (targets[unit] == kNone && units.contains(unit)) targets[unit] = target;
        }
    }
    // Ends the alternative before and prepares the next one.
    void beginAlternative(Step& step)
    {
        if (step.child != 0) endAlternative(step);
        const std::uint32_t next = nodeAt(step.nextChild).next;
        if (next == kNone) return addToTable(step.table, kxUnitSet::all(), here());
        const kxUnitSet& first = rule_->first[step.nextChild];
        const bool isTested = !isPlain_ && !first.hasNothing();
        if (isTested) emitForward(KX_OP_TEST, setOf(first), step.next);
        // A plain program goes on in any case; but that the data has ended is noted in both.
        if (isPlain_ && !first.hasNothing()) emit(KX_OP_TEST, setOf(first), here() + 1);
        addToTable(step.table, isTested ? first : kxUnitSet::all(), here());
        // Where no later alternative can begin like this one, there is nothing to come back for.
        step.hasChoice = !isTested || overlapsLater(first, next);
        if (step.hasChoice) emitForward(KX_OP_CHOICE, 0, step.next);
    }
    void endAlternative(Step& step)
    {
        emitForward(step.hasChoice ? KX_OP_COMMIT : KX_OP_JUMP, 0, step.behind);
        closeChain(step.next);
    }
    bool overlapsLater(const kxUnitSet& first, std::uint32_t later) const
    {
        for (std::uint32_t count = 0; later != kNone; later = nodeAt(later).next) {
            if (++count > kComparedAlternatives || rule_->first[later].hasNothing() ||
                rule_->first[later].overlaps(first))
                return true;
        }
        return false;
    }

    //   a - b                PEEK first(b), a
    //                        UNLESS a
    //                        ...b...
    //                        REFUSE
    //                     a: ...a...

    // All children but the last must not match.
    void beginUnwanted(Step& step)
    {
        if (step.child != 0) {
            emit(KX_OP_REFUSE);
            closeChain(step.next);
        }
        if (nodeAt(step.nextChild).next == kNone) return;
        const kxUnitSet& first = rule_->first[step.nextChild];
        if (!isPlain_ && !first.hasNothing()) emitForward(KX_OP_PEEK, setOf(first), step.next);
        emitForward(KX_OP_UNLESS, 0, step.next);
    }

    // ---- repetitions
    //
    //   a*                   PEEK first(a), end   only where there may be no round
    //                        REPEAT bounds, end
    //                 round: ...a...
    //                        AGAIN bounds, round
    //                   end:
    //
    // a? has an OPTION and a COMMIT instead; a single character is a SPAN or a RUN.

    bool beginRepeat(Step& step, const kxRuleNode& node)
    {
        if (node.maximum == 0) return false;
        const std::uint32_t set = singleSet(*rule_, node.firstChild, kSingleDepth);
        if (set != kNone) return emitRun(set, node);
        takeCharactersFirst(node);
        const kxUnitSet& first = rule_->first[node.firstChild];
        if (!isPlain_ && node.minimum == 0 && !first.hasNothing())
            emitForward(KX_OP_PEEK, setOf(first), step.behind);
        if (isOptional(node))
            emitForward(KX_OP_OPTION, 0, step.behind);
        else
            emitForward(KX_OP_REPEAT, boundsIndex(boundsOf(node)), step.behind);
        step.round = here();
        step.isEndless = !isPlain_ && node.maximum == KX_RULE_UNLIMITED && node.minimum <= 1;
        if (step.isEndless && nodeAt(node.firstChild).kind == KX_RULE_DIFFERENCE)
            runOfWanted(step, node.firstChild);
        return true;
    }
    bool emitRun(std::uint32_t set, const kxRuleNode& node)
    {
        if (node.maximum == KX_RULE_UNLIMITED) return emit(KX_OP_SPAN, set, node.minimum);
        return emit(KX_OP_RUN, set, boundsIndex({node.minimum, node.maximum}));
    }
    void endRepeat(Step& step, const kxRuleNode& node)
    {
        closeChain(step.roundEnd);
        if (isOptional(node))
            emitForward(KX_OP_COMMIT, 0, step.behind);
        else
            emit(KX_OP_AGAIN, boundsIndex(boundsOf(node)), step.round);
        closeChain(step.behind);
    }
    kxProgramBounds boundsOf(const kxRuleNode& node)
    {
        const kxUnitSet& first = rule_->first[node.firstChild];
        const bool isTested = !isPlain_ && !first.hasNothing();
        return {node.minimum, node.maximum, isTested ? setOf(first) : kxProgramBounds::kAnySet};
    }
    static bool isOptional(const kxRuleNode& node) { return node.minimum == 0 && node.maximum == 1; }
    std::uint32_t boundsIndex(const kxProgramBounds& bounds)
    {
        const auto count = static_cast<std::uint32_t>(program_.bounds.size());
        const auto [place, isNew] = boundsIndex_.try_emplace(bounds, count);
        if (isNew) program_.bounds.push_back(bounds);
        return place->second;
    }
    // ---- runs within rounds
    //
    // Rounds that take single characters among other things are slow when every character is a round. What follows only
    // saves time: without it, programs do the same.
    //
    //   ([ab] | x)*          SPAN [ab]            before the PEEK of the repetition, and
    //                 round: SPAN [ab] {1,*}      instead of SET [ab] within
    //
    //   ([ab] - x)*   round: PEEK [ab] but first(x), one
    //                        SPAN [ab] but first(x) {1,*}
    //                        JUMP again
    //                   one: ...[ab] - x...
    //                 again: AGAIN bounds, round

    // Rounds that try one character first may begin with all such characters; often nothing else comes behind them.
    void takeCharactersFirst(const kxRuleNode& node)
    {
        const kxRuleNode& round = nodeAt(node.firstChild);
        if (isPlain_ || node.minimum != 0 || node.maximum != KX_RULE_UNLIMITED ||
            round.kind != KX_RULE_CHOICE)
            return;
        const std::uint32_t set = singleSet(*rule_, round.firstChild, kSingleDepth);
        if (set != kNone) emit(KX_OP_SPAN, set, 0);
    }
    // Characters that are matched round by round may as well be taken all at once: where rounds are not limited, an
    // alternative that is one character and comes first, or begins like no other.
    bool isRoundOfCharacters(const Step& step)
    {
        const kxRuleNode& choice = nodeAt(step.node);
        if (!step.isEndless || singleSet(*rule_, step.nextChild, kSingleDepth) == kNone) return false;
        if (step.child == 0) return true;
        if (step.child > kComparedAlternatives) return false;
        for (std::uint32_t other = choice.firstChild; other != step.nextChild; other = nodeAt(other).next) {
            const kxUnitSet& first = rule_->first[other];
            if (first.hasNothing() || first.overlaps(rule_->first[step.nextChild])) return false;
        }
        return true;
    }
    // The same for a difference: characters with which nothing unwanted begins.
    void runOfWanted(Step& step, std::uint32_t difference)
    {
        kxUnitSet unwanted;
        std::uint32_t child = nodeAt(difference).firstChild;
        for (; nodeAt(child).next != kNone; child = nodeAt(child).next) unwanted |= rule_->first[child];
        if (unwanted.hasNothing() || singleSet(*rule_, child, kSingleDepth) == kNone) return;
        kxUnitSet wanted = rule_->first[child];
        wanted.remove(unwanted);
        if (set_.isWide()) wanted.removeHigh();
        const std::uint32_t set = setOf(wanted);
        emit(KX_OP_PEEK, set, here() + 3);
        emit(KX_OP_SPAN, set, 1);
        emitForward(KX_OP_JUMP, 0, step.roundEnd);
    }
    // The set of what matches exactly one character and does nothing else; kNone for other nodes.
    std::uint32_t singleSet(const kxRuleSet::Rule& rule, std::uint32_t at, std::uint32_t depth)
    {
        const kxRuleNode& node = rule.info->tree().nodes()[at];
        if (node.kind == KX_RULE_SET || node.kind == KX_RULE_SET_NOT) return writtenSet(rule, at);
        if (node.kind == KX_RULE_LITERAL && shortUnitsOf(rule, node).size() == 1) return writtenSet(rule, at);
        if (node.kind != KX_RULE_NAME || isPlain_ || depth == 0) return kNone;
        const kxRuleSet::Target target = rule.targets[at];
        if (isCharacter(target)) return setOf(set_.functions()[target.index]->first());
        if (target.kind != kxRuleSet::Kind::kRule) return kNone;
        const kxRuleSet::Rule& called = set_.rules()[target.index];
        return singleSet(called, called.info->tree().root(), depth - 1);
    }

    // ---- sets

    std::u16string unitsOf(const kxRuleSet::Rule& rule, const kxRuleNode& node) const
    {
        std::u16string units;
        kxRuleUnits::decode(rule.info->tree().textOf(node), set_.isWide(), units);
        return units;
    }
    // The same, but none when they are more than one for certain.
    std::u16string shortUnitsOf(const kxRuleSet::Rule& rule, const kxRuleNode& node) const
    {
        return node.length <= kMostBytesOfUnit ? unitsOf(rule, node) : std::u16string();
    }
    std::uint32_t writtenSet(const kxRuleSet::Rule& rule, std::uint32_t at)
    {
        const kxRuleNode& node = rule.info->tree().nodes()[at];
        const auto [place, isNew] = setOfNode_.try_emplace(&node, kNone);
        if (!isNew) return place->second;
        const bool isNot = node.kind == KX_RULE_SET_NOT;
        kxProgramSet set{{}, isNot, {}};
        std::fill(std::begin(set.low), std::end(set.low), static_cast<std::uint8_t>(isNot));
        for (const char16_t unit : unitsOf(rule, node)) {
            if (unit < 256)
                set.low[unit] = !isNot;
            else
                set.exceptions += unit;
        }
        std::sort(set.exceptions.begin(), set.exceptions.end());
        place->second = setIndex(std::move(set));
        return place->second;
    }
    std::uint32_t setOf(const kxUnitSet& units)
    {
        kxProgramSet set{{}, units.contains(kxUnitSet::kHigh), {}};
        for (char16_t unit = 0; unit < 256; ++unit) set.low[unit] = units.contains(unit);
        return setIndex(std::move(set));
    }
    std::uint32_t setIndex(kxProgramSet set)
    {
        std::u16string key(std::begin(set.low), std::end(set.low));
        key += static_cast<char16_t>(set.high);
        key += set.exceptions;
        const auto count = static_cast<std::uint32_t>(program_.sets.size());
        const auto [place, isNew] = setIndex_.try_emplace(std::move(key), count);
        if (isNew) program_.sets.push_back(std::move(set));
        return place->second;
    }

    const kxRuleSet& set_;
    const bool isPlain_;
    kxRuleProgram program_;
    const kxRuleSet::Rule* rule_ = nullptr;     // being compiled
    std::vector<const kxRuleSet::Rule*> open_;  // rules being compiled, each within the one before
    std::size_t inlineNodesLeft_ = 0;           // for all that is put in within a call
    std::uint32_t offset_ = 0;
    // Rules that are put in at many places share what is written in them.
    std::unordered_map<const kxRuleNode*, Text> textOfNode_;
    std::unordered_map<const kxRuleNode*, std::uint32_t> setOfNode_;
    std::map<std::u16string, std::uint32_t> setIndex_;
    std::map<kxProgramBounds, std::uint32_t> boundsIndex_;
};

}  // namespace

kxRuleProgram kxCompileRules(const kxRuleSet& set, kxRuleCode kind)
{
    return Compiler(set, kind).compile();
}
