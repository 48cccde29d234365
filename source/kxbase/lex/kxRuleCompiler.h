// Makes the program of a set of rules.
//
// With first characters known, a choice goes straight to the alternative that can match, and small rules that neither
// mark nor act are put in where they are called. A plain program does neither: in it every rule and function is entered
// and left, which is what tracing shows.
//
// Threads: a plain function.
// Errors:  none; a name that stands for nothing becomes an instruction that stops the machine.
#pragma once

#include "kxbase/lex/kxRuleProgram.h"
#include "kxbase/lex/kxRuleSet.h"

enum class kxRuleCode : std::uint8_t { kFast, kPlain };

kxRuleProgram kxCompileRules(const kxRuleSet& set, kxRuleCode kind);
