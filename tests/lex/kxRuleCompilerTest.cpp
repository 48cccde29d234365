#include "kxbase/lex/kxRuleCompiler.h"

#include "kxbase/lex/kxRuleParser.h"
#include "support/kxTest.h"

namespace {

kxRuleSet ruleSet(std::initializer_list<const char*> rules)
{
    kxLexNames names;
    kxRefPointer<kxRuleInfo> start = nullptr;
    for (const char* text : rules) {
        kxRuleParser parser(text);
        EXPECT_TRUE(parser.parse()) << parser.fault();
        const auto info = kxMakeRef<kxRuleInfo>(parser.takeTree());
        if (!start) start = info;
        names.set(info);
    }
    return kxRuleSet(names, *start, false);
}

}  // namespace

TEST(kxRuleSet, KnowsWhatRulesBeginWith)
{
    const kxRuleSet set = ruleSet({"main ::= a? b | c*", "a ::= [xyz] | $ d", "b ::= '' ('1' | main)",
                                   "c ::= unknown", "d ::= ([^a] - 'b'){0,3} 'e'"});
    EXPECT_EQ(set.print(), "main? [x00-xFF high nothing]\n"
                           "a [x00-`b-xFF high]\n"
                           "b? [x00-xFF high nothing]\n"
                           "c [x00-xFF high nothing]\n"
                           "d [x00-`b-xFF high]\n");
}

TEST(kxRuleCompiler, MakesPrograms)
{
    const kxRuleSet set = ruleSet(
        {"main ::= 'ab' | [1+]+ - sp | (sp main){2,3} x? | (sp | 'y' x)*", "sp ::= ' '", "x ::= $ 'x'"});
    EXPECT_EQ(kxCompileRules(set, kxRuleCode::kFast).print(),
              "0 call main 2\n1 done\n2 switch [a] 4 [+1] 8 [x20] 16 [x00-x1F!-*,-02-`b-xFF high] 26\n"
              "3 test [a] 7\n4 choice 7\n5 text 'ab'\n6 commit 35\n7 test [+1] 15\n8 choice 15\n"
              "9 peek [x20] 13\n10 unless 13\n11 unit ' '\n12 refuse\n13 span [+1] {1,*}\n14 commit 35\n"
              "15 test [x20] 26\n16 choice 26\n17 repeat {2,3} 21\n18 unit ' '\n19 call main 2\n"
              "20 again {2,3} 18\n21 peek [x] 25\n22 option 25\n23 call x 38\n24 commit 25\n"
              "25 commit 35\n26 span [x20] {0,*}\n27 peek [x20y] 35\n28 repeat {0,*} 35\n"
              "29 test [x20] 32\n30 span [x20] {1,*}\n31 jump 34\n32 unit 'y'\n33 call x 38\n"
              "34 again {0,*} 29\n35 return\n36 unit ' '\n37 return\n38 mark\n39 unit 'x'\n40 return\n");
    const kxRuleProgram list =
        kxCompileRules(ruleSet({"list ::= x x (',' list)?", "x ::= 'ab'"}), kxRuleCode::kFast);
    EXPECT_EQ(list.print(),
              "0 call list 2\n1 done\n2 text 'ab'\n3 text 'ab'\n4 peek [,] 10\n5 repeat {0,*} 10\n"
              "6 unit ','\n7 text 'ab'\n8 text 'ab'\n9 again {0,*} 6\n10 return\n11 text 'ab'\n12 return\n");
    EXPECT_EQ(list.texts, u"ab") << "what is put in twice is there once";
}
