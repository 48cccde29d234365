// Writes a line for every rule and function that a match enters and leaves, as messages at the Debug level. The names
// are indented by one blank for each rule that is open.
#pragma once

#include "kxbase/lex/kxMatchTracer.h"

class kxLexTrace final : public kxMatchTracer {
public:
    void enterRule(const kxRuleInfo& rule, std::uint32_t depth, const kxTextPlace& place) override;
    void leaveRule(const kxRuleInfo& rule, std::uint32_t depth, const kxTextPlace& place,
                   kxLexResult result) override;
    void enterFunction(const kxFuncInfo& function, std::uint32_t depth, const kxTextPlace& place) override;
    void leaveFunction(const kxFuncInfo& function, std::uint32_t depth, const kxTextPlace& place,
                       kxLexResult result) override;
};
