// What a match came to, in one line: the result, the values and what is left, for example  OK 'abc' 5 <rest>.
#pragma once

#include "kxbase/dynamic/kxDynamicTypeArray.h"
#include "kxbase/lex/kxSerializeLex.h"
#include "support/kxTest.h"

inline std::string kxPrinted(const kxDynamicType& value)
{
    if (value.isType(KX_UNIQUE_NUM)) return std::string(kxString::fromDouble(value.toNumber()).view());
    if (value.isType(KX_UNIQUE_LLNUM)) return std::to_string(value.toInt64()) + "L";
    if (value.isType(KX_UNIQUE_STR)) return "'" + std::string(value.toString().view()) + "'";
    if (!value.isType(KX_UNIQUE_ARRAY)) return std::string(value.toString().view());
    std::string text = "[";
    for (const kxDynamicType& each : kxDynamicTypeArray(value))
        text += (text.size() > 1 ? " " : "") + kxPrinted(each);
    return text + "]";
}

inline std::string kxOutcome(kxSerializeLex& lex, kxLexResult result, kxSerializeAdapter& adapter)
{
    std::string text(kxLexResultName(result));
    while (lex.hasValue()) text += " " + kxPrinted(lex.pop());
    return text + " <" + kxTestTake(adapter) + ">";
}

// Runs the rule "main" of a set; with tracing the program is the plain one.
inline std::string kxOutcomeOf(std::string_view rules, std::string_view input, bool isPlain = false,
                               kxString* error = nullptr)
{
    const auto adapter = kxTestInput(input);
    kxSerializeLex lex(adapter);
    lex.setTracing(isPlain);
    lex.addRules(rules);
    const kxLexResult result = lex.run("main");
    if (error != nullptr) *error = lex.getError();
    return kxOutcome(lex, result, *adapter);
}
