// The last programs (kxRuleProgram) that a lexer has run. One is made, by way of a kxRuleSet, when its start rule is
// first run, and again when names have changed since.
//
// Ownership: owns the last few programs.
// Threads:   takes no lock; one thread at a time.
// Errors:    null, with fault(), for rules that come back to themselves without taking anything, and for rule text
//            that is no UTF-8 where characters are wide.
#pragma once

#include "kxbase/lex/kxRuleCompiler.h"
#include "kxbase/string/kxString.h"

class kxRulePrograms {
public:
    const kxRuleProgram* get(const kxLexNames& names, kxRuleInfo& start, bool isWide, kxRuleCode kind);
    const kxString& fault() const { return fault_; }

private:
    struct Entry {
        kxRefPointer<kxRuleInfo> start = nullptr;
        std::uint64_t version = 0;
        bool isWide = false;
        kxRuleCode kind = kxRuleCode::kFast;
        kxRuleProgram program;
    };

    static kxString faultOf(const kxRuleSet& set);

    Entry entries_[4];
    std::uint32_t next_ = 0;  // to be replaced
    kxString fault_;
};
