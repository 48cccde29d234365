#include "kxbase/lex/kxRuleParser.h"

#include "kxbase/lex/kxRuleSplitter.h"
#include "lex/kxLexOutcome.h"

namespace {

// The tree, or the fault.
std::string parsed(const kxTestRow& row)
{
    kxRuleParser parser(row.text);
    return parser.parse() ? parser.takeTree().print() : std::string(parser.fault().view());
}

}  // namespace

TEST(kxRuleParser, MakesTrees)
{
    const kxTestRow rows[] = {
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
        {"as many brackets as there may be",
         "a ::= " + kxTestRepeated("(", 1000) + "b" + kxTestRepeated(")", 1000), "a ::= b"},
    };
    kxExpectRows(rows, parsed);
}

TEST(kxRuleParser, TellsWhatIsWrongAndWhere)
{
    using namespace std::string_literals;
    const std::string mismatch = "Expression mismatch";
    const struct {
        const char* why;
        std::string begin, rest, fault;  // the rest is from the fault on
        int line, column;
    } rows[] = {
        {"no minimum", "a ::= b{", ",2} c", "Missing Min number in set {Min,Max}", 1, 9},
        {"no maximum", "a ::= b{2,", "}", "Missing Max number in set {Min,Max}", 1, 11},
        {"no brace", "a ::= b{2,3 ", "c", "Missing right '}' in set {Min,Max}", 1, 13},
        {"the wrong way round", "a ::= b", "{3,2}", "Min>Max in set {Min,Max}", 1, 8},
        {"no bracket", "a ::= ( b | c ", ";", "Missing right ')'", 1, 15},
        {"a set", "a ::= b\n  ", "[c", "Unbalansed Set []", 2, 3},
        {"a comment", "a ::= b\n\n", "/* c", "Unbalansed comment", 3, 1},
        {"a quote", "a ::= 'x' ", "\"y", "Unbalansed quote string", 1, 11},
        {"characters count, not bytes", "a ::= '\xC3\xA4' ", "]", mismatch, 1, 11},
        {"nothing", "", "", mismatch, 1, 1},
        {"no name", "", "::= 'x'", mismatch, 1, 1},
        {"no expression", "a ::= ", ";", mismatch, 1, 7},
        {"an empty alternative", "a ::= b | ", "| c", mismatch, 1, 11},
        {"a sign without an element", "a ::= ", "* b", mismatch, 1, 7},
        {"a count behind no group", "a ::= b ", "8", mismatch, 1, 9},
        {"a zero byte", "a ::= b", "\0 c"s, mismatch, 1, 8},
        {"too many brackets", "a ::= " + kxTestRepeated("(", 1000), "(",
         "Parse Error:'Too many nested rules'", 1, 1007},
    };
    for (const auto& row : rows) {
        const kxString place = kxString::format("(Line:%d,Col:%d)", row.line, row.column);
        const std::string rule = row.begin.empty() ? "''" : "'a'";
        EXPECT_EQ(parsed({row.why, row.begin + row.rest, ""}),
                  row.fault + " in rule " + rule + " at " + place.text() + " -> " + row.rest)
            << row.why;
    }
}

TEST(kxRuleSplitter, KnowsQuotesSetsAndComments)
{
    const kxTestRow rows[] = {
        // number@line:column text
        {"nothing", " \n;; /* ; */ ;", ""},
        {"blank pieces do not count", "a;;\n b c ; /* x */\n\td", "1@1:1 a|2@2:2 b c |3@3:2 d|"},
        {"a semicolon inside", "a ';' \";\" [;] /*;*/ ; b", "1@1:1 a ';' \";\" [;] /*;*/ |2@1:23 b|"},
        {"what does not end is not waited for", "a [x ; b 'y ; c /* ; d \" ; e",
         "1@1:1 a [x |2@1:8 b 'y |3@1:15 c /* |4@1:22 d \" |5@1:28 e|"},
    };
    kxExpectRows(rows, [](const kxTestRow& row) {
        std::string pieces;
        kxRuleSplitter splitter(row.text);
        for (kxRuleSplitter::Piece piece; splitter.next(piece);)
            pieces += std::to_string(piece.number) + "@" + std::to_string(piece.place.line) + ":" +
                      std::to_string(piece.place.column) + " " + std::string(piece.text) + "|";
        return pieces;
    });
    const std::string open = kxTestRepeated("/*;", 100000);
    kxRuleSplitter splitter(open);
    kxRuleSplitter::Piece piece;
    while (splitter.next(piece)) EXPECT_EQ(piece.text, "/*");
    EXPECT_EQ(piece.number, 100000U);
}
