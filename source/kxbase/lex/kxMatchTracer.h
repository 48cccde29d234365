// Hears of every rule and function that a match enters and leaves.
#pragma once

#include "kxbase/lex/kxFuncInfo.h"
#include "kxbase/lex/kxRuleInfo.h"

class kxMatchTracer {
public:
    virtual void enterRule(const kxRuleInfo& rule, std::uint32_t depth, const kxTextPlace& place) = 0;
    virtual void leaveRule(const kxRuleInfo& rule, std::uint32_t depth, const kxTextPlace& place,
                           kxLexResult result) = 0;
    virtual void enterFunction(const kxFuncInfo& function, std::uint32_t depth, const kxTextPlace& place) = 0;
    virtual void leaveFunction(const kxFuncInfo& function, std::uint32_t depth, const kxTextPlace& place,
                               kxLexResult result) = 0;

protected:
    ~kxMatchTracer() = default;
};
