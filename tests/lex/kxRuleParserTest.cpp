#include "kxbase/lex/kxRuleParser.h"

#include "kxbase/lex/kxRuleCompiler.h"
#include "kxbase/lex/kxRuleSplitter.h"
#include "lex/kxLexOutcome.h"
#include "support/kxMessageRecorder.h"

#include <gtest/gtest.h>

namespace {

// The tree, or the fault.
std::string parsed(std::string_view text)
{
    kxRuleParser parser(text);
    return parser.parse() ? parser.takeTree().print() : std::string(parser.fault().view());
}

std::string repeated(std::string_view text, int count)
{
    std::string all;
    while (count-- != 0) all += text;
    return all;
}

struct Row {
    const char* why;
    std::string text;
    std::string expected;
};

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

TEST(kxRuleParser, MakesTrees)
{
    const Row rows[] = {
        {"both quotes", "a ::= 'x\"y' \"x'y\"", "a ::= sequence('x\"y', \"x'y\")"},
        {"the least blanks", "a::='x''y'|[z]b", "a ::= choice(sequence('x', 'y'), sequence([z], b))"},
        {"tabs, lines and comments between all", "\t a\r\n/* x ' */::=\t'x'/**/ | /* ; */ b ; /* y */",
         "a ::= choice('x', b)"},
        {"sets", "a ::= [abc] [^abc] [^] [] [a^] [(;'] [^^]",
         "a ::= sequence([abc], [^abc], [^], [], [a^], [(;'], [^^])"},
        {"repetitions", "a ::= b? b* b+ b{2,3} b { 2 , 3 }",
         "a ::= sequence(repeat{0,1}(b), repeat{0,*}(b), repeat{1,*}(b), repeat{2,3}(b), repeat{2,3}(b))"},
        {"of repetitions", "a ::= b?*", "a ::= repeat{0,*}(repeat{0,1}(b))"},
        {"a count behind a group", "a ::= (X)8 (X) 4 '-'",
         "a ::= sequence(repeat{8,8}(X), repeat{4,4}(X), '-')"},
        {"a number that is too large", "a ::= b{1,99999999999}", "a ::= repeat{1,*}(b)"},
        {"a difference is one element of a sequence", "a ::= 'x' b* - c? 'y'",
         "a ::= sequence('x', unless(repeat{0,1}(c), repeat{0,*}(b)), 'y')"},
        {"differences, left to right", "a ::= b - c - d", "a ::= unless(c, d, b)"},
        {"groups of one leave no trace", "a ::= (((b)))", "a ::= b"},
        {"groups", "a ::= ( b | c d ) e", "a ::= sequence(choice(b, sequence(c, d)), e)"},
        {"marks and names", "_a1 ::= $ f_Push", "_a1 ::= sequence(mark, f_Push)"},
        {"as many brackets as there may be", "a ::= " + repeated("(", 1000) + "b" + repeated(")", 1000),
         "a ::= b"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(parsed(row.text), row.expected);
    }
}

TEST(kxRuleParser, TellsWhatIsWrongAndWhere)
{
    const Row rows[] = {
        {"no minimum", "a ::= b{,2} c",
         "Missing Min number in set {Min,Max} in rule 'a' at (Line:1,Col:9) -> ,2} c"},
        {"no comma", "a ::= b{2}", "Missing ',' in set {Min,Max} in rule 'a' at (Line:1,Col:10) -> }"},
        {"no maximum", "a ::= b{2,}",
         "Missing Max number in set {Min,Max} in rule 'a' at (Line:1,Col:11) -> }"},
        {"no brace", "a ::= b{2,3 c",
         "Missing right '}' in set {Min,Max} in rule 'a' at (Line:1,Col:13) -> c"},
        {"the wrong way round", "a ::= b{3,2}",
         "Min>Max in set {Min,Max} in rule 'a' at (Line:1,Col:8) -> {3,2}"},
        {"no bracket", "a ::= ( b | c ;", "Missing right ')' in rule 'a' at (Line:1,Col:15) -> ;"},
        {"no bracket and nothing else", "a ::= ( b | ",
         "Missing right ')' in rule 'a' at (Line:1,Col:13) -> "},
        {"a set", "a ::= b\n  [c", "Unbalansed Set [] in rule 'a' at (Line:2,Col:3) -> [c"},
        {"a comment", "a ::= b\n\n/* c", "Unbalansed comment in rule 'a' at (Line:3,Col:1) -> /* c"},
        {"a comment in bounds", "a ::= b{/* c", "Unbalansed comment in rule 'a' at (Line:1,Col:9) -> /* c"},
        {"a quote", "a ::= 'x' \"y", "Unbalansed quote string in rule 'a' at (Line:1,Col:11) -> \"y"},
        {"a single quote", "a ::= \"x\" 'y",
         "Unbalansed single quoted string in rule 'a' at (Line:1,Col:11) -> 'y"},
        {"characters count, not bytes", "a ::= '\xC3\xA4' ]",
         "Expression mismatch in rule 'a' at (Line:1,Col:11) -> ]"},
        {"nothing", "", "Expression mismatch in rule '' at (Line:1,Col:1) -> "},
        {"no name", "::= 'x'", "Expression mismatch in rule '' at (Line:1,Col:1) -> ::= 'x'"},
        {"no sign", "a = 'x'", "Expression mismatch in rule 'a' at (Line:1,Col:3) -> = 'x'"},
        {"no expression", "a ::= ;", "Expression mismatch in rule 'a' at (Line:1,Col:7) -> ;"},
        {"an empty alternative", "a ::= b | | c",
         "Expression mismatch in rule 'a' at (Line:1,Col:11) -> | c"},
        {"an empty group", "a ::= ()", "Expression mismatch in rule 'a' at (Line:1,Col:8) -> )"},
        {"half a difference", "a ::= (b - )", "Expression mismatch in rule 'a' at (Line:1,Col:12) -> )"},
        {"a bracket too many", "a ::= b )", "Expression mismatch in rule 'a' at (Line:1,Col:9) -> )"},
        {"a sign without an element", "a ::= * b",
         "Expression mismatch in rule 'a' at (Line:1,Col:7) -> * b"},
        {"a count behind no group", "a ::= b 8", "Expression mismatch in rule 'a' at (Line:1,Col:9) -> 8"},
        {"a second rule", "a ::= b; c", "Expression mismatch in rule 'a' at (Line:1,Col:10) -> c"},
        {"a zero byte", std::string("a ::= b\0 c", 10),
         "Expression mismatch in rule 'a' at (Line:1,Col:8) -> " + std::string("\0 c", 3)},
        {"too many brackets", "a ::= " + repeated("(", 1001),
         "Parse Error:'Too many nested rules' in rule 'a' at (Line:1,Col:1007) -> ("},
        {"too many signs", "a ::= b" + repeated("?", 1002),
         "Parse Error:'Too many nested rules' in rule 'a' at (Line:1,Col:1009) -> ?"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(parsed(row.text), row.expected);
    }
}

TEST(kxRuleSplitter, KnowsQuotesSetsAndComments)
{
    const struct {
        const char* why;
        const char* set;
        std::vector<std::string> rules;  // number@line:column text
    } rows[] = {
        {"nothing", " \n;; /* ; */ ;", {}},
        {"blank pieces do not count", "a;;\n b c ; /* x */\n\td", {"1@1:1 a", "2@2:2 b c ", "3@3:2 d"}},
        {"a semicolon inside", "a ';' \";\" [;] /*;*/ ; b", {"1@1:1 a ';' \";\" [;] /*;*/ ", "2@1:23 b"}},
        {"what does not end is not waited for",
         "a [x ; b 'y ; c /* ; d \" ; e",
         {"1@1:1 a [x ", "2@1:8 b 'y ", "3@1:15 c /* ", "4@1:22 d \" ", "5@1:28 e"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        std::vector<std::string> rules;
        kxRuleSplitter splitter(row.set);
        for (kxRuleSplitter::Piece piece; splitter.next(piece);) {
            rules.push_back(std::to_string(piece.number) + "@" + std::to_string(piece.place.line) + ":" +
                            std::to_string(piece.place.column) + " " + std::string(piece.text));
        }
        EXPECT_EQ(rules, row.rules);
    }
    const std::string open = repeated("/*;", 100000);
    kxRuleSplitter splitter(open);
    kxRuleSplitter::Piece piece;
    while (splitter.next(piece)) EXPECT_EQ(piece.text, "/*");
    EXPECT_EQ(piece.number, 100000U);
}

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

TEST(kxRuleSet, FindsLeftRecursion)
{
    const struct {
        const char* why;
        std::initializer_list<const char*> rules;
        const char* through;  // the rule and what it calls
    } rows[] = {
        {"none", {"a ::= 'x' a | b", "b ::= 'y' b?"}, ""},
        {"itself", {"a ::= a 'x'"}, "a a"},
        {"in another alternative", {"a ::= 'x' | a"}, "a a"},
        {"behind what can be nothing", {"a ::= $ 'x'? ('y' | '')* b 'z'", "b ::= (a)2"}, "b a"},
        {"in what must not match", {"a ::= 'x' - a"}, "a a"},
        {"a round that is never done", {"a ::= (a){0,0} 'x'"}, ""},
        {"behind a rule that becomes empty late", {"a ::= b a", "b ::= c", "c ::= d", "d ::= 'x'*"}, "a a"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const kxRuleSet set = ruleSet(row.rules);
        std::string through;
        if (const auto* const place = set.leftRecursion()) {
            const kxRuleTree& tree = set.rules()[place->rule].info->tree();
            through = tree.name() + " " + std::string(tree.textOf(tree.nodes()[place->node]));
        }
        EXPECT_EQ(through, row.through);
    }
}

TEST(kxRuleCompiler, MakesPrograms)
{
    const kxRuleSet set = ruleSet(
        {"main ::= 'ab' | [1+]+ - sp | (sp main){2,3} x? | (sp | 'y' x)*", "sp ::= ' '", "x ::= $ 'x'"});
    EXPECT_EQ(kxCompileRules(set, kxRuleCode::kFast).print(),
              "0 call main 2\n1 done\n2 switch [a] 4 [+1] 8 [x20] 16 [x00-x1F!-*,-02-`b-xFF high] 26\n"
              "3 test [a] 7\n4 choice 7\n5 text 'ab'\n6 commit 35\n7 test [+1] 15\n8 choice 15\n"
              "9 test [x20] 13\n10 choice 13\n11 unit ' '\n12 refuse\n13 span [+1] {1,*}\n14 commit 35\n"
              "15 test [x20] 26\n16 choice 26\n17 repeat {2,3} 21\n18 unit ' '\n19 call main 2\n"
              "20 again {2,3} 18\n21 test [x] 25\n22 choice 25\n23 call x 38\n24 commit 25\n"
              "25 commit 35\n26 span [x20] {0,*}\n27 test [x20y] 35\n28 repeat {0,*} 35\n"
              "29 test [x20] 32\n30 span [x20] {1,*}\n31 jump 34\n32 unit 'y'\n33 call x 38\n"
              "34 again {0,*} 29\n35 return\n36 unit ' '\n37 return\n38 mark\n39 unit 'x'\n40 return\n");
    EXPECT_EQ(kxCompileRules(set, kxRuleCode::kPlain).print(),
              "0 call main 2\n1 done\n2 choice 5\n3 text 'ab'\n4 commit 27\n5 choice 11\n6 choice 9\n"
              "7 call sp 28\n8 refuse\n9 span [+1] {1,*}\n10 commit 27\n11 choice 20\n"
              "12 repeat {2,3} 16\n13 call sp 28\n14 call main 2\n15 again {2,3} 13\n16 choice 19\n"
              "17 call x 30\n18 commit 19\n19 commit 27\n20 repeat {0,*} 27\n21 choice 24\n"
              "22 call sp 28\n23 commit 26\n24 unit 'y'\n25 call x 30\n26 again {0,*} 21\n27 return\n"
              "28 unit ' '\n29 return\n30 mark\n31 unit 'x'\n32 return\n");
    const kxRuleProgram list =
        kxCompileRules(ruleSet({"list ::= x x (',' list)?", "x ::= 'ab'"}), kxRuleCode::kFast);
    EXPECT_EQ(list.print(),
              "0 call list 2\n1 done\n2 text 'ab'\n3 text 'ab'\n4 test [,] 10\n5 repeat {0,*} 10\n"
              "6 unit ','\n7 text 'ab'\n8 text 'ab'\n9 again {0,*} 6\n10 return\n11 text 'ab'\n12 return\n");
    EXPECT_EQ(list.texts, u"ab") << "what is put in twice is there once";
}
