#include "kxbase/lex/kxLexBuiltins.h"

#include "kxbase/lex/kxRuleParser.h"
#include "kxbase/string/kxWhiteSpace.h"

#include <algorithm>

namespace {

constexpr std::string_view kRules[] = {
    "fHex\t\t::=\tfHexS+\t\t\t\t\t\t\t\t\t\t",
    "fStr\t\t::=\t'\"' [^\"]* '\"' | \"'\" [^']* \"'\"\t\t",
    "fToken\t::=\t[^] \t\t\t\t\t\t\t\t\t\t",
    "fEnd\t\t::=\t[^]*\t\t\t\t\t\t\t\t\t\t",
};
// As kxNumberScanner reads numbers, but that the separator may stand behind the last digit.
constexpr std::string_view kCNum =
    " fCNum ::= ( '-' | '+'? ) digit+ ('%c' digit* )? ( [eE] ( '-' | '+'? ) digit+ )? ; ";

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kSigns = "+-";
constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";

constexpr struct {
    std::string_view name;
    std::string_view characters;
} kCharacters[] = {
    {"digit", kDigits},
    {"fHexS", "0123456789ABCDEFabcdef"},
    {"fWS", "\t\n\r "},
};

constexpr struct {
    std::string_view name;
    kxFuncKind kind;
} kPushes[] = {
    {"fPush", KX_FUNC_PUSH},        {"fPushStr", KX_FUNC_PUSH_QUOTED}, {"fString", KX_FUNC_PUSH_TEXT},
    {"fRegKey", KX_FUNC_PUSH_TEXT}, {"fIFace", KX_FUNC_PUSH_TEXT},
};

kxUnitSet setOf(std::string_view first, std::string_view second = {})
{
    kxUnitSet set(first);
    set |= kxUnitSet(second);
    return set;
}

const kxUnitSet& plainCharacters()
{
    static const kxUnitSet set = [] {
        kxUnitSet plain = setOf(KX_WHITE_SPACE, "'\",;=&()[]{}");
        plain.invert();
        return plain;
    }();
    return set;
}

// Takes as many characters of a set as there are, and answers how many.
std::uint32_t takeAll(kxLexInput& input, const kxUnitSet& set)
{
    const std::uint32_t start = input.position();
    for (std::int32_t unit; (unit = input.peek()) != KX_LEX_END && set.contains(static_cast<char16_t>(unit));)
        input.next();
    return input.position() - start;
}

std::uint32_t takeDigits(kxLexInput& input)
{
    const std::uint32_t start = input.position();
    for (std::int32_t unit; (unit = input.peek()) >= '0' && unit <= '9';) input.next();
    return input.position() - start;
}

void takeSign(kxLexInput& input)
{
    const std::int32_t unit = input.peek();
    if (unit == '+' || unit == '-') input.next();
}

kxLexResult matchIf(bool matches)
{
    return matches ? KX_LEX_OK : KX_LEX_NO_MATCH;
}

kxLexResult matchInteger(kxLexInput& input)
{
    takeSign(input);
    return matchIf(takeDigits(input) != 0);
}

// As kxNumberScanner reads numbers, but from an input.
kxLexResult matchNumber(kxLexInput& input)
{
    if (matchInteger(input) == KX_LEX_NO_MATCH) return KX_LEX_NO_MATCH;
    std::uint32_t end = input.position();
    if (input.peek() == '.' && input.next() != KX_LEX_END && takeDigits(input) != 0) end = input.position();
    input.giveBack(input.position() - end);
    if (input.peek() == 'e' || input.peek() == 'E') {
        input.next();
        if (matchInteger(input) == KX_LEX_OK) end = input.position();
        input.giveBack(input.position() - end);
    }
    return KX_LEX_OK;
}

kxLexResult matchIdentifier(kxLexInput& input)
{
    static const kxUnitSet first = setOf(kLetters);
    static const kxUnitSet others = setOf(kLetters, kDigits);
    const std::int32_t unit = input.peek();
    if (unit == KX_LEX_END || !first.contains(static_cast<char16_t>(unit))) return KX_LEX_NO_MATCH;
    takeAll(input, others);
    return KX_LEX_OK;
}

kxLexResult matchPlain(kxLexInput& input)
{
    return matchIf(takeAll(input, plainCharacters()) != 0);
}

}  // namespace

void kxLexBuiltins::addTo(kxLexNames& names)
{
    for (const std::string_view text : kRules) {
        kxRuleParser parser(text);
        parser.parse();
        names.set(kxMakeRef<kxRuleInfo>(parser.takeTree()));
    }
    for (const auto& row : kCharacters) names.set(kxFuncInfo::ofCharacters(row.name, setOf(row.characters)));
    for (const auto& row : kPushes) names.set(kxFuncInfo::ofPush(row.name, row.kind));
    names.set(number("fNum"));
    names.set(kxFuncInfo::ofMatch("fInt", matchInteger, setOf(kSigns, kDigits)));
    names.set(kxFuncInfo::ofMatch("fIdent", matchIdentifier, setOf(kLetters)));
    names.set(kxFuncInfo::ofMatch("fPlain", matchPlain, plainCharacters()));
}

kxRefPointer<kxFuncInfo> kxLexBuiltins::number(std::string_view name)
{
    return kxFuncInfo::ofMatch(name, matchNumber, setOf(kSigns, kDigits));
}

kxString kxLexBuiltins::numberRule(char decimalSeparator)
{
    return kxString::format(kCNum, decimalSeparator);
}
