// Rules as instructions for kxMatchMachine: one array for all rules that a start rule reaches.
//
// Ownership: holds references to the rules and functions it was made from.
// Threads:   read-only once made; one program may be run by several machines.
// Units:     targets are indices of instructions.
#pragma once

#include "kxbase/lex/kxFuncInfo.h"
#include "kxbase/lex/kxRuleInfo.h"
#include "kxbase/lex/kxUnitSet.h"

#include <array>
#include <compare>
#include <memory>

enum kxOperation : std::uint8_t {
    KX_OP_UNIT,     // takes the unit `a`
    KX_OP_TEXT,     // takes `b` units of the text at `a`
    KX_OP_SET,      // takes one unit of set `a`
    KX_OP_SPAN,     // takes units of set `a`, as many as there are, at least `b`
    KX_OP_RUN,      // takes units of set `a`, as many as there are within bounds `b`
    KX_OP_TEST,     // goes to `b` unless the next unit is in set `a`; takes nothing
    KX_OP_PEEK,     // the same, where the end of the data is no failure
    KX_OP_SWITCH,   // goes to where table `a` says for the next unit; takes nothing
    KX_OP_CHOICE,   // whatever fails from here on comes back to here and goes to `b`
    KX_OP_OPTION,   // the same, for what may be left out
    KX_OP_UNLESS,   // the same, for what must not match
    KX_OP_COMMIT,   // forgets the last choice and goes to `b`
    KX_OP_REFUSE,   // forgets the last choice and fails
    KX_OP_JUMP,     // goes to `b`
    KX_OP_REPEAT,   // begins rounds within bounds `a`; they end at `b`
    KX_OP_AGAIN,    // ends a round within bounds `a`; the next one begins at `b`
    KX_OP_CALL,     // runs rule `a`, which begins at `b`
    KX_OP_RETURN,   // ends a rule
    KX_OP_NATIVE,   // runs function `a`
    KX_OP_MARK,     // marks the position
    KX_OP_PUSH,     // records the text since the mark for function `a`
    KX_OP_BLANK,    // the same directly behind a white-space function: one character counts as a blank
    KX_OP_UNKNOWN,  // stops: name `a` stands for nothing
    KX_OP_DONE,     // the start rule has matched
    KX_OP_COUNT
};

struct kxInstruction {
    kxOperation operation;
    std::uint32_t a;
    std::uint32_t b;
    std::uint32_t offset;  // of what it was made from, in the text of its rule
};

// Of runs and rounds.
struct kxProgramBounds {
    static constexpr std::uint32_t kAnySet = KX_RULE_NO_NODE;

    std::uint32_t minimum;
    std::uint32_t maximum;
    std::uint32_t first = kAnySet;  // the set that every round begins with
    friend auto operator<=>(const kxProgramBounds&, const kxProgramBounds&) = default;
};

struct kxProgramSet {
    std::uint8_t low[256];
    bool high;                  // what holds for higher units,
    std::u16string exceptions;  // but for these; in order

    bool contains(char16_t unit) const
    {
        return unit < 256 ? low[unit] != 0 : exceptions.empty() ? high : containsHigh(unit);
    }
    bool containsHigh(char16_t unit) const;
};

// Where to go on: for each of the first 256 units, and for all higher ones.
using kxProgramTable = std::array<std::uint32_t, kxUnitSet::kHigh + 1>;

class kxRuleProgram {
public:
    std::vector<kxInstruction> code;
    std::u16string texts;
    std::vector<kxProgramSet> sets;
    std::vector<kxProgramTable> tables;
    std::vector<kxProgramBounds> bounds;
    std::vector<std::string> names;  // that stand for nothing
    std::vector<kxRefPointer<kxRuleInfo>> rules;
    std::vector<std::uint32_t> entries;  // of each rule, ascending
    std::vector<kxRefPointer<kxFuncInfo>> functions;

    // The rule that an instruction belongs to; the start rule for those before all rules.
    const kxRuleInfo& ruleOf(std::uint32_t instruction) const;
    // For people and tests: a line for each instruction.
    std::string print() const;
};
