#include "kxbase/lex/kxRuleParser.h"

#include "kxbase/lex/kxRuleSplitter.h"
#include "lex/kxLexOutcome.h"

#include <gtest/gtest.h>

namespace {

// The tree, or the fault.
std::string parsed(std::string_view text)
{
    kxRuleParser parser(text);
    return parser.parse() ? parser.takeTree().print() : std::string(parser.fault().view());
}

struct Row {
    const char* why;
    std::string text, expected;
};

}  // namespace

TEST(kxRuleParser, MakesTrees)
{
    const Row rows[] = {
        {"both quotes", "a ::= 'x\"y' \"x'y\"", "a ::= sequence('x\"y', \"x'y\")"},
        {"tabs, lines and comments between all", "\t a\r\n/* x ' */::=\t'x'/**/ | /* ; */ b ; /* y */",
         "a ::= choice('x', b)"},
        {"sets", "a ::= [abc] [^abc] [^] [] [a^] [(;'] [^^]",
         "a ::= sequence([abc], [^abc], [^], [], [a^], [(;'], [^^])"},
        {"repetitions", "a ::= b? b* b+ b{2,3} b { 2 , 3 }",
         "a ::= sequence(repeat{0,1}(b), repeat{0,*}(b), repeat{1,*}(b), repeat{2,3}(b), repeat{2,3}(b))"},
        {"of repetitions", "a ::= b?*", "a ::= repeat{0,*}(repeat{0,1}(b))"},
        {"a count behind a group", "a ::= (X)8 (X) 4 '-'",
         "a ::= sequence(repeat{8,8}(X), repeat{4,4}(X), '-')"},
        {"a difference is one element of a sequence", "a ::= 'x' b* - c? 'y'",
         "a ::= sequence('x', unless(repeat{0,1}(c), repeat{0,*}(b)), 'y')"},
        {"differences, left to right", "a ::= b - c - d", "a ::= unless(c, d, b)"},
        {"groups", "a ::= ( b | c d ) e", "a ::= sequence(choice(b, sequence(c, d)), e)"},
        {"as many brackets as there may be", "a ::= " + kxRepeated("(", 1000) + "b" + kxRepeated(")", 1000),
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
        {"no maximum", "a ::= b{2,}",
         "Missing Max number in set {Min,Max} in rule 'a' at (Line:1,Col:11) -> }"},
        {"no brace", "a ::= b{2,3 c",
         "Missing right '}' in set {Min,Max} in rule 'a' at (Line:1,Col:13) -> c"},
        {"the wrong way round", "a ::= b{3,2}",
         "Min>Max in set {Min,Max} in rule 'a' at (Line:1,Col:8) -> {3,2}"},
        {"no bracket", "a ::= ( b | c ;", "Missing right ')' in rule 'a' at (Line:1,Col:15) -> ;"},
        {"a set", "a ::= b\n  [c", "Unbalansed Set [] in rule 'a' at (Line:2,Col:3) -> [c"},
        {"a comment", "a ::= b\n\n/* c", "Unbalansed comment in rule 'a' at (Line:3,Col:1) -> /* c"},
        {"a quote", "a ::= 'x' \"y", "Unbalansed quote string in rule 'a' at (Line:1,Col:11) -> \"y"},
        {"characters count, not bytes", "a ::= '\xC3\xA4' ]",
         "Expression mismatch in rule 'a' at (Line:1,Col:11) -> ]"},
        {"nothing", "", "Expression mismatch in rule '' at (Line:1,Col:1) -> "},
        {"no name", "::= 'x'", "Expression mismatch in rule '' at (Line:1,Col:1) -> ::= 'x'"},
        {"no expression", "a ::= ;", "Expression mismatch in rule 'a' at (Line:1,Col:7) -> ;"},
        {"an empty alternative", "a ::= b | | c",
         "Expression mismatch in rule 'a' at (Line:1,Col:11) -> | c"},
        {"a sign without an element", "a ::= * b",
         "Expression mismatch in rule 'a' at (Line:1,Col:7) -> * b"},
        {"a count behind no group", "a ::= b 8", "Expression mismatch in rule 'a' at (Line:1,Col:9) -> 8"},
        {"a zero byte", std::string("a ::= b\0 c", 10),
         "Expression mismatch in rule 'a' at (Line:1,Col:8) -> " + std::string("\0 c", 3)},
        {"too many brackets", "a ::= " + kxRepeated("(", 1001),
         "Parse Error:'Too many nested rules' in rule 'a' at (Line:1,Col:1007) -> ("},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(parsed(row.text), row.expected);
    }
}

TEST(kxRuleSplitter, KnowsQuotesSetsAndComments)
{
    const struct {
        const char *why, *set;
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
    const std::string open = kxRepeated("/*;", 100000);
    kxRuleSplitter splitter(open);
    kxRuleSplitter::Piece piece;
    while (splitter.next(piece)) EXPECT_EQ(piece.text, "/*");
    EXPECT_EQ(piece.number, 100000U);
}
