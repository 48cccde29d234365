#include "kxbase/lex/kxRuleProgram.h"

#include "kxbase/string/kxUtf.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace {

// What an operand is, for printing.
enum class Operand : std::uint8_t {
    kNone,
    kUnit,
    kText,
    kSet,
    kTable,
    kLeast,
    kBounds,
    kTarget,
    kRule,
    kFunction,
    kName
};

constexpr struct {
    const char* name;
    Operand a;
    Operand b;
} kOperations[] = {
    {"unit", Operand::kUnit, Operand::kNone},       {"text", Operand::kText, Operand::kNone},
    {"set", Operand::kSet, Operand::kNone},         {"span", Operand::kSet, Operand::kLeast},
    {"run", Operand::kSet, Operand::kBounds},       {"test", Operand::kSet, Operand::kTarget},
    {"peek", Operand::kSet, Operand::kTarget},      {"switch", Operand::kTable, Operand::kNone},
    {"choice", Operand::kNone, Operand::kTarget},   {"option", Operand::kNone, Operand::kTarget},
    {"unless", Operand::kNone, Operand::kTarget},   {"commit", Operand::kNone, Operand::kTarget},
    {"refuse", Operand::kNone, Operand::kNone},     {"jump", Operand::kNone, Operand::kTarget},
    {"repeat", Operand::kBounds, Operand::kTarget}, {"again", Operand::kBounds, Operand::kTarget},
    {"call", Operand::kRule, Operand::kTarget},     {"return", Operand::kNone, Operand::kNone},
    {"native", Operand::kFunction, Operand::kNone}, {"mark", Operand::kNone, Operand::kNone},
    {"push", Operand::kFunction, Operand::kNone},   {"blank", Operand::kFunction, Operand::kNone},
    {"unknown", Operand::kName, Operand::kNone},    {"done", Operand::kNone, Operand::kNone},
};
static_assert(std::size(kOperations) == KX_OP_COUNT, "one row for each operation");

std::string narrow(std::u16string_view units)
{
    std::string text(kxUtfLengthOfWide(units), '\0');
    kxUtfFromWide(units, text.data());
    return text;
}

std::string printed(const kxProgramSet& set)
{
    kxUnitSet units;
    for (char16_t unit = 0; unit < 256; ++unit)
        if (set.low[unit] != 0) units.add(unit);
    if (set.high) units.add(kxUnitSet::kHigh);
    return units.print() + (set.exceptions.empty() ? "" : " except '" + narrow(set.exceptions) + "'");
}

// The units of each target, in the order of the targets.
std::string printed(const kxProgramTable& table)
{
    std::map<std::uint32_t, kxUnitSet> units;
    for (char16_t unit = 0; unit < table.size(); ++unit) units[table[unit]].add(unit);
    std::string text;
    for (const auto& [target, set] : units) text += " " + set.print() + " " + std::to_string(target);
    return text;
}

std::string printed(const kxProgramBounds& bounds)
{
    const bool isOpen = bounds.maximum == KX_RULE_UNLIMITED;
    return "{" + std::to_string(bounds.minimum) + "," + (isOpen ? "*" : std::to_string(bounds.maximum)) + "}";
}

std::string printed(const kxRuleProgram& program, const kxInstruction& instruction, Operand kind,
                    std::uint32_t operand)
{
    switch (kind) {
    case Operand::kNone:
        break;
    case Operand::kUnit:
        return " '" + narrow(std::u16string(1, static_cast<char16_t>(operand))) + "'";
    case Operand::kText:
        return " '" + narrow(std::u16string_view(program.texts).substr(operand, instruction.b)) + "'";
    case Operand::kSet:
        return " " + printed(program.sets[operand]);
    case Operand::kTable:
        return printed(program.tables[operand]);
    case Operand::kLeast:
        return " {" + std::to_string(operand) + ",*}";
    case Operand::kBounds:
        return " " + printed(program.bounds[operand]);
    case Operand::kTarget:
        return " " + std::to_string(operand);
    case Operand::kRule:
        return " " + program.rules[operand]->name();
    case Operand::kFunction:
        return " " + program.functions[operand]->name();
    case Operand::kName:
        return " " + program.names[operand];
    }
    return {};
}

}  // namespace

bool kxProgramSet::containsHigh(char16_t unit) const
{
    return std::binary_search(exceptions.begin(), exceptions.end(), unit) != high;
}

const kxRuleInfo& kxRuleProgram::ruleOf(std::uint32_t instruction) const
{
    const auto behind = std::upper_bound(entries.begin(), entries.end(), instruction);
    return *rules[behind == entries.begin() ? 0 : static_cast<std::size_t>(behind - entries.begin()) - 1];
}

std::string kxRuleProgram::print() const
{
    std::string out;
    for (std::uint32_t at = 0; at < code.size(); ++at) {
        const auto& row = kOperations[code[at].operation];
        out += std::to_string(at) + " " + row.name + printed(*this, code[at], row.a, code[at].a) +
               printed(*this, code[at], row.b, code[at].b) + "\n";
    }
    return out;
}
