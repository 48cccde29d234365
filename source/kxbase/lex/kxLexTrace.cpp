#include "kxbase/lex/kxLexTrace.h"

#include "kxbase/core/kxMessage.h"

#include <algorithm>

namespace {

std::string_view indentOf(std::uint32_t depth)
{
    constexpr std::string_view blanks = "                                ";
    return blanks.substr(0, std::min<std::size_t>(depth, blanks.size()));
}

std::string_view viewOf(const std::string& name)
{
    return name;
}

}  // namespace

void kxLexTrace::enterRule(const kxRuleInfo& rule, std::uint32_t depth, const kxTextPlace& place)
{
    kxMessage(KX_MESSAGE_DEBUG, "Parsing Rule     : %s%s(Line:%d,Col:%d)", indentOf(depth),
              viewOf(rule.name()), place.line, place.column);
}

void kxLexTrace::leaveRule(const kxRuleInfo& rule, std::uint32_t depth, const kxTextPlace& place,
                           kxLexResult result)
{
    kxMessage(KX_MESSAGE_DEBUG, "Exit Rule        : %s%s(Line:%d,Col:%d)\tResult:%s", indentOf(depth),
              viewOf(rule.name()), place.line, place.column, kxLexResultName(result));
}

void kxLexTrace::enterFunction(const kxFuncInfo& function, std::uint32_t depth, const kxTextPlace& place)
{
    kxMessage(KX_MESSAGE_DEBUG, "Parsing Function : %s%s(Line:%d,Col:%d)", indentOf(depth),
              viewOf(function.name()), place.line, place.column);
}

void kxLexTrace::leaveFunction(const kxFuncInfo& function, std::uint32_t depth, const kxTextPlace& place,
                               kxLexResult result)
{
    kxMessage(KX_MESSAGE_DEBUG, "Exit Function    : %s%s(Line:%d,Col:%d)\tResult:%s", indentOf(depth),
              viewOf(function.name()), place.line, place.column, kxLexResultName(result));
}
