#include "kxbase/lex/kxLexNames.h"

void kxLexNames::set(kxRefPointer<kxRuleInfo> rule)
{
    const kxString name(rule->name());
    forget(name);
    rules_.insert(name, rule);
}

void kxLexNames::set(kxRefPointer<kxFuncInfo> function)
{
    const kxString name(function->name());
    forget(name);
    functions_.insert(name, function);
}

void kxLexNames::forget(const kxString& name)
{
    ++version_;
    rules_.remove(name);
    functions_.remove(name);
}
