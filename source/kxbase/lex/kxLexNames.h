// The names that rules can refer to: rules and functions. A name stands for what was put under it last.
//
// Ownership: holds references to rules and functions.
// Threads:   takes no lock; one thread at a time.
#pragma once

#include "kxbase/containers/kxRefDict.h"
#include "kxbase/lex/kxFuncInfo.h"
#include "kxbase/lex/kxRuleInfo.h"
#include "kxbase/string/kxStringCompareInterface.h"

class kxLexNames {
public:
    void set(kxRefPointer<kxRuleInfo> rule);
    void set(kxRefPointer<kxFuncInfo> function);
    // Null when the name stands for none.
    kxRuleInfo* findRule(const kxString& name) const { return rules_.find(name); }
    kxFuncInfo* findFunction(const kxString& name) const { return functions_.find(name); }
    // Grows with every change.
    std::uint64_t version() const { return version_; }

private:
    void forget(const kxString& name);

    kxRefDict<kxString, kxRuleInfo, kxStringCompareInterface> rules_;
    kxRefDict<kxString, kxFuncInfo, kxStringCompareInterface> functions_;
    std::uint64_t version_ = 0;
};
