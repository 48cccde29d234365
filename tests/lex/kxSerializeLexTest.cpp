#include "kxbase/lex/kxSerializeLex.h"

#include "kxbase/string/kxNumberScanner.h"
#include "lex/kxLexOutcome.h"
#include "support/kxScriptedAdapter.h"

namespace {

struct Row {
    const char* why;
    std::string rules, input, expected;
};

// The result and the error text of running main.
std::string faultOf(std::string_view rules, std::string_view input, bool isPlain = false)
{
    const auto adapter = kxTestInput(input);
    kxSerializeLex lex(adapter);
    lex.setTracing(isPlain);
    lex.addRules(rules);
    const kxLexResult result = lex.run("main");
    EXPECT_EQ(kxTestTake(*adapter), result == KX_LEX_OK ? "" : input) << "nothing is taken";
    return std::string(kxLexResultName(result)) + ": " + lex.getError().text();
}

}  // namespace

// The constructs themselves are matched beside kxMatchMachine's slow twin.
TEST(kxSerializeLex, MatchesWithItsFunctionsAndActions)
{
    const Row rows[] = {
        {"a set has no ranges", "main ::= [a-c]*", "a-cb", "OK <b>"},
        {"rounds of a difference end where none begins", "main ::= ([^\n] - '//')+ fPush '\n'", "a/b\n",
         "OK 'a/b' <>"},
        {"the last rule of a name", "main ::= b; b ::= 'x'; b ::= 'y'", "y", "OK <>"},
        {"recursion", "main ::= '(' main? ')'", "(())", "OK <>"},
        {"strings lose their quotes", "main ::= $ fStr fPushStr fPush $ fStr fPushStr", "'a\"'\"b'\"",
         "OK 'a\"' ''a\"'' 'b'' <>"},
        {"what is pushed as it stands", "main ::= $ [^]* fString fRegKey fIFace", "'5'",
         "OK ''5'' ''5'' ''5'' <>"},
        {"numbers", "main ::= (($ fNum fPush | fInt) ' '?)*", "5 -2.5e1 +0 007 .5", "OK 5 -25 0 7 <.5>"},
        {"integers beyond 53 bits", "main ::= ($ fInt fPush ' ')*",
         "9007199254740992 9007199254740993 -9223372036854775808 ",
         "OK 9007199254740992 9007199254740993L -9223372036854775808L <>"},
        {"texts with digits are texts", "main ::= ($ [^ ]* fPush ' ')*", "1.5.2 0x10 1e - + 12a ",
         "OK '1.5.2' '0x10' '1e' '-' '+' '12a' <>"},
        {"a blank is the number 32", "main ::= $ fWS fPush $ fToken fPush", "\t ", "OK 32 ' ' <>"},
        {"and so does its exponent", "main ::= $ fNum fPush", "1.5e+x", "OK 1.5 <e+x>"},
        {"fInt gives its sign back", "main ::= fInt | '-' ", "-x", "OK <x>"},
        {"fIdent", "main ::= $ fIdent fPush", "_a1-", "OK '_a1' <->"},
        {"fIdent begins with no digit", "main ::= fIdent", "1a", "No Match <1a>"},
        {"fPlain", "main ::= ($ fPlain fPush [^])*", "a-$.b=c&d;e,f(g\"h'i[j}k l\xC3<",
         "OK 'a-$.b' 'c' 'd' 'e' 'f' 'g' 'h' 'i' 'j' 'k' <l\xC3<>"},
        {"digit, fHexS, fWS", "main ::= digit fHexS fWS*", "9f \t\r\nx", "OK <x>"},
        {"fHex", "main ::= $ fHex fPush", "beefx", "OK 'beef' <x>"},
        {"fToken and fEnd", "main ::= fToken $ fEnd fPush fEnd", "\n\r'x", "OK '\r'x' <>"},
        {"a run over many blocks", "main ::= ('ab')* [c]* 'd'",
         kxTestRepeated("ab", 50000) + kxTestRepeated("c", 70000) + "d!", "OK <!>"},
    };
    for (const bool isPlain : {false, true})
        kxExpectRows(rows, [=](const Row& row) { return kxOutcomeOf(row.rules, row.input, isPlain); });
}

TEST(kxSerializeLex, ScansPatterns)
{
    const struct {
        const char* why;
        std::string pattern, input, expected;
        char separator = '.';
    } rows[] = {
        {"blanks, literals and numbers", "%w{%w%n%w,%w%n%w}", " { 1.5 ,\t-2}x", "OK 1.5 -2 <x>"},
        {"words and integers", "%i=%l;%p", "a1=-5;b.c d", "OK 'a1' -5 'b.c' < d>"},
        {"texts, tokens, digits, the rest", "%s%t%x %e", "'q'!ff rest\n", "OK 'q' '!' 'ff' 'rest\n' <>"},
        {"rule text", "x:%\" $ '{' [^}]* '},' fPush $ [^?]+ fPush '?'? \"%e", "x:{u},f?o",
         "OK '{u},' 'f' 'o' <>"},
        {"nothing", "", "x", "OK <x>"},
        {"an open set", "[a", "a", "Error <a>"},
        {"an open rule text", "%\" 'a'", "a", "Error <a>"},
        {"a lonely per cent sign", "a%", "a%", "Error <a%>"},
        {"a decimal comma", "%n;%n;%n", "1,5;-2,5e3;7,x", "OK 1.5 -2500 7 <x>", ','},
        {"a point is then none", "%n", "1.5", "OK 1 <.5>", ','},
        {"a comma at the end of an integer", "%e", "9007199254740993,", "OK 9007199254740993L <>", ','},
        {"a text that is too long", "%e", kxTestRepeated("x", 65536),
         "Error <" + kxTestRepeated("x", 65536) + ">"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const kxMessageRecorder messages;
        const auto adapter = kxTestInput(row.input);
        kxSerializeLex lex(adapter);
        EXPECT_TRUE(lex.setDecimalSeparator(row.separator));
        const kxLexResult result = lex.scan(row.pattern);
        EXPECT_EQ(lex.getError().isEmpty(), result != KX_LEX_ERROR);
        EXPECT_EQ(messages.entries().empty(), result != KX_LEX_ERROR);
        EXPECT_EQ(kxOutcome(lex, result, *adapter), row.expected);
    }
    const kxMessageRecorder messages;
    for (const char none : {'\'', '1', 'e', '-', '\0', ' '})
        EXPECT_FALSE(kxSerializeLex().setDecimalSeparator(none)) << none;
    EXPECT_TRUE(messages.entries().empty());
    const auto adapter = kxTestInput("1,5 1.5");
    kxSerializeLex lex(adapter);
    for (const char separator : {',', '.'}) {
        EXPECT_TRUE(lex.setDecimalSeparator(separator));
        EXPECT_EQ(lex.scan("%n%w"), KX_LEX_OK);
        EXPECT_EQ(lex.pop().toNumber(), 1.5) << "a pattern is not kept for another separator";
    }
}

// The scanner, fNum, fCNum and fPush, with a point and with point and comma exchanged.
TEST(kxSerializeLex, HasOneFormOfNumbers)
{
    const struct {
        const char* text;
        std::size_t length, lengthOfCNum;  // of the number at its start
    } rows[] = {
        {"7", 1, 1},     {"-2.50e+3", 8, 8}, {"+1e5x", 4, 4},  {".5", 0, 0},     {"-", 0, 0},
        {"1.", 1, 2},    {"1.e5", 1, 4},     {"1e5.", 3, 3},   {"1.5.", 3, 3},   {"1.5e3.", 5, 5},
        {"1,5.", 1, 1},  {"1e", 1, 1},       {"1,5e3.", 1, 1}, {"1,5.e5", 1, 1}, {"1.,5", 1, 2},
        {"1.5e-", 3, 3}, {" 1", 0, 0},       {"0x10", 1, 1},   {"12.e5.", 2, 5},
    };
    for (const auto& row : rows) {
        for (const char separator : {'.', ','}) {
            std::string text = row.text;
            for (char& each : text)
                if (separator == ',' && (each == '.' || each == ',')) each = each == '.' ? ',' : '.';
            SCOPED_TRACE(text);
            EXPECT_EQ(kxNumberScanner(separator).scan(text).length, row.length);
            const auto adapter = kxTestInput(text);
            kxSerializeLex lex(adapter);
            lex.setDecimalSeparator(separator);
            lex.scan("%n");
            const std::size_t taken = text.size() - adapter->length();
            EXPECT_EQ(taken, separator == ',' ? row.lengthOfCNum : row.length);
            lex.clearValues();
            lex.setAdapter(kxTestInput(text));
            lex.scan("%e");
            EXPECT_EQ(lex.pop().isType(KX_UNIQUE_NUM), taken == text.size());
        }
    }
}

TEST(kxSerializeLex, SaysWhyItStopped)
{
    const kxMessageRecorder messages;
    const Row rows[] = {
        {"another text", "main ::= 'a' 'b'", "axx", "No Match: "},
        {"the data ends", "main ::= 'abc'", "ab", "No Match: Adapter out of Data"},
        {"in a run that is too short", "main ::= [x]{3,4}", "xx", "No Match: Adapter out of Data"},
        {"a run that is long enough is no failure", "main ::= ('a' [x]* | 'b') 'c'", "axd", "No Match: "},
        {"a name that stands for nothing", "main ::= 'a' other", "a", "Error: Unknow parse function 'other'"},
        {"a difference that refuses needs no more data", "main ::= [^] - fHex", "1", "No Match: "},
        {"nor does what must not match", "main ::= ([^] - 'abc') 'q'", "ab", "No Match: "},
        {"within what must not match", "main ::= ([^] - ('b' - 'ccc')) 'q'", "cc", "No Match: "},
        {"rounds end with the data", "main ::= x* y? ('' - ''); x ::= 'x'; y ::= 'y'", "xx", "No Match: "},
        {"an alternative does not", "main ::= 'x' 'x' | ('' - '')", "", "No Match: Adapter out of Data"},
        {"too deep", "main ::= '\n' b; b ::= 'x' b 'y' | 'z'", "\n" + kxTestRepeated("x", 20000),
         "Error: Parse Error:'Too many nested rules' in rule 'b' at (Line:2,Col:10000) -> b 'y' | 'z'"},
        {"deep enough", "main ::= '(' main ')' | ''", kxTestRepeated("(", 9999) + kxTestRepeated(")", 9999),
         "OK: "},
    };
    for (const bool isPlain : {false, true})
        kxExpectRows(rows, [=](const Row& row) { return faultOf(row.rules, row.input, isPlain); });
}

TEST(kxSerializeLex, RefusesLeftRecursion)
{
    const kxMessageRecorder messages;
    const kxTestRow rows[] = {
        {"none", "main ::= 'x' main | b; b ::= 'y' b? | ''", ""},
        {"itself", "main ::= main 'x'", "'main' at (Line:1,Col:10) -> main 'x'"},
        {"in another alternative", "main ::= 'x' | y; y ::= main 'z'", "'y' at (Line:1,Col:25) -> main 'z'"},
        {"behind what can be nothing", "main ::= $ 'x'? ('y' | '')* b 'z'; b ::= (main)2",
         "'b' at (Line:1,Col:43) -> main)2"},
        {"in what must not match", "main ::= 'x' - main", "'main' at (Line:1,Col:16) -> main"},
        {"a round that is never done", "main ::= (main){0,0} 'x'", ""},
        {"behind a rule that becomes empty late", "main ::= b main; b ::= c; c ::= d; d ::= 'x'*",
         "'main' at (Line:1,Col:12) -> main"},
    };
    for (const auto& [why, rules, place] : rows)
        EXPECT_EQ(faultOf(rules, "x"),
                  place.empty() ? "OK: " : "Error: Parse Error:'Left recursion' in rule " + place)
            << why;
}

TEST(kxSerializeLex, SurvivesHostileRules)
{
    std::string twice, thrice, links, uses;
    for (char rule = 'a'; rule < 'z'; ++rule) {
        const std::string begin = std::string(1, rule) + " ::= ", next(1, static_cast<char>(rule + 1));
        twice += begin + "'x' " + next + " '1' | 'x' " + next + " '2';";
        thrice += begin + "$ " + next + " " + next + " " + next + ";";
    }
    for (int link = 1; link < 3000; ++link) {
        const std::string name = "r" + std::to_string(link);
        links += name + " ::= r" + std::to_string(link - 1) + ";";
        uses += " | " + name;
    }
    const std::string many = kxTestRepeated("x", 20000),
                      steps = "Error: Parse Error:'Too many steps' in rule '";
    const Row rows[] = {
        {"a large set", "main ::= ([" + kxTestRepeated("x", 65000) + "])* 'y'", "xxy", "OK: "},
        {"many alternatives", "main ::= " + kxTestRepeated("'x' 'y' | ", 20000) + "'z'", "z", "OK: "},
        {"many calls", "s ::= 'a' 'b' 'c' 'd' | 'e'; main ::= 'z' | " + kxTestRepeated("s ", 50000), "z",
         "OK: "},
        {"a long chain of rules, and a large one that uses all of it",
         "r0 ::= 'a';" + links + "main ::= 'q'" + uses + kxTestRepeated(" | 'b'", 20000), "b", "OK: "},
        {"a rule that is too long", "main ::= 'x'" + kxTestRepeated(" 'x'", 300000), "z",
         "Error: Unknow parse f"},
        {"each tries the next one twice", twice + "z ::= ('x')* '!' | 'x'*; main ::= a '0'", many, steps},
        {"calls without end that take nothing", thrice + "z ::= ''; main ::= a", "", steps},
        {"runs that are too short", "main ::= ([x]{20001,20001} | [^])*", many, steps},
        {"runs without end", "main ::= ([x]{20001,4294967295} | [^])*", many, steps},
        {"long texts in vain", "main ::= ('" + many.substr(1) + "y' | [^])*", many, steps},
        {"rounds of many instructions", "main ::= (" + kxTestRepeated("[b]? ", 20000) + " 'x')*", many,
         steps},
        {"marks that are given up", "main ::= (" + kxTestRepeated("$ ", 20000) + " 'xy' | [^])*", many,
         steps},
        {"a function that goes back", "main ::= 'x' ('x' | back)*", many, steps},
        {"texts that nobody asks for", "main ::= ('x' ignore)*", many, "OK: "},
        {"a long text over and over", "main ::= $ fEnd" + kxTestRepeated(" fPush", 5000), many + many + many,
         "Error: Parse Error:'Too many values' in rule 'main'"},
    };
    const kxMessageRecorder messages;
    for (const Row& row : rows) {
        for (const char* const end : {"", "!"}) {
            SCOPED_TRACE(row.why);
            const auto adapter = kxTestInput(row.input + end);
            kxSerializeLex lex(adapter);
            lex.setStepLimit(100000);
            lex.addFunction("back", [](kxLexInput& input) {
                input.giveBack(1);
                return KX_LEX_OK;
            });
            lex.addAction("ignore", [](kxLexCapture&) { return KX_LEX_OK; });
            lex.addRules(row.rules);
            const kxLexResult result = lex.run("main");
            const std::string fault = std::string(kxLexResultName(result)) + ": " + lex.getError().text();
            EXPECT_EQ(fault.substr(0, row.expected.size()), row.expected);
            EXPECT_EQ(kxTestTake(*adapter), result == KX_LEX_OK ? end : row.input + end);
        }
    }
}

TEST(kxSerializeLex, ReadsNoMoreThanItMay)
{
    const kxMessageRecorder messages;
    const auto endless = kxSerializeAdapter::getAdapter("file:/dev/zero", KX_SERIALIZE_INPUT);
    kxSerializeLex lex(endless);
    lex.setHistoryLimit(100000);
    lex.addRules("all ::= fEnd; none ::= ('x' | [^])*; one ::= $ [^] fPush");
    for (const char* rule : {"all", "none"}) {
        EXPECT_EQ(lex.run(rule), KX_LEX_ERROR);
        EXPECT_TRUE(lex.getError().startsWith("Parse Error:'Too much input' in rule '")) << lex.getError();
    }
    EXPECT_EQ(lex.getError(),
              "Parse Error:'Too much input' in rule 'none' at (Line:1,Col:100001) -> 'x' | [^])*");
    EXPECT_EQ(lex.run("one"), KX_LEX_OK);
    for (const bool isWide : {false, true}) {
        lex.setHistoryLimit(300);
        for (const unsigned length : {299U, 300U, 301U}) {
            const std::string text = kxTestRepeated("x", length);
            const auto adapter = kxTestInput(isWide ? kxTestWide(text) + "x" : text);
            lex.setAdapter(adapter);
            lex.setWide(isWide);
            EXPECT_EQ(lex.run("all"), length > 300 ? KX_LEX_ERROR : KX_LEX_OK) << length;
            EXPECT_EQ(adapter->length() > 1, length > 300);
        }
    }
    EXPECT_FALSE(lex.loadRules("file:/dev/zero"));
    EXPECT_EQ(lex.getError(), "Too much input");

    kxScriptedAdapter::Journal journal;
    const auto slow = kxMakeRef<kxScriptedAdapter>("in", journal);
    slow->ready = "ab";
    slow->later = "cd";
    kxSerializeLex careful(slow);
    careful.addRules("x ::= 'abx'; y ::= 'abc' 'd'");
    EXPECT_EQ(careful.run("y"), KX_LEX_OK) << "waits for what is missing";
    slow->ready = "ab";
    slow->later = "cd";
    careful.addRules("z ::= 'ax' | 'ab'");
    EXPECT_EQ(careful.run("z"), KX_LEX_OK);
    EXPECT_EQ(slow->later, "cd") << "does not wait without need";
}

TEST(kxSerializeLex, LoadsRuleSets)
{
    const std::string set = "a ::= 'x';\nmain ::= a b{3,2};\n/* c */ main ::= a 'y' ;;\n";
    const kxTempDirectory folder;
    folder.write("rules", set);
    const kxString url = kxString("file:") + folder.path("rules").c_str();
    const kxString fault = "Min>Max in set {Min,Max} in rule 'main' at (Line:2,Col:13) -> {3,2}";
    for (const bool fromUrl : {false, true}) {
        const kxMessageRecorder messages;
        const auto adapter = kxTestInput("xy");
        kxSerializeLex lex(adapter);
        EXPECT_FALSE(fromUrl ? lex.loadRules(url) : lex.addRules(set));
        EXPECT_EQ(lex.getError(), fault);
        const kxString told = fromUrl ? "Malformed rule in parser url:" + url
                                      : "Malformed rule in parser string:" + kxString(set);
        EXPECT_EQ(messages.texts(),
                  (std::vector<std::string>{fault.text(), std::string(told.view()) + " rule nr:2"}));
        EXPECT_EQ(messages.entries().back().level, KX_MESSAGE_WARNING);
        EXPECT_EQ(lex.run("main"), KX_LEX_OK);
        EXPECT_TRUE(lex.getError().isEmpty());
    }
    kxMessageRecorder messages;
    kxSerializeLex lex;
    EXPECT_FALSE(lex.addRule("%s ::= x"));
    EXPECT_EQ(messages.takeTexts(),
              (std::vector<std::string>{"Expression mismatch in rule '' at (Line:1,Col:1) -> %s ::= x",
                                        "Malformed rule in parser -> '%s ::= x'"}));
    EXPECT_TRUE(lex.addRule("a ::= 'x';"));
    EXPECT_FALSE(lex.addRule("a ::= 'y"));
    EXPECT_EQ(lex.run("a"), KX_LEX_NO_MATCH) << "the rule is still there";
    EXPECT_FALSE(lex.loadRules("file:/no/such/rules"));
    EXPECT_FALSE(lex.getError().isEmpty());
}

TEST(kxSerializeLex, RunsFunctionsAndActionsOfTheProgram)
{
    const kxMessageRecorder messages;
    const auto adapter = kxTestInput("ab\ncd\xff!");
    kxSerializeLex lex(adapter);
    std::string seen;
    lex.addFunction("two", [](kxLexInput& input) {
        return input.next() != KX_LEX_END && input.next() != 'x' ? KX_LEX_OK : KX_LEX_NO_MATCH;
    });
    lex.addFunction("broken", [](kxLexInput&) { return KX_LEX_ERROR; });
    lex.addFunction("greedy", [](kxLexInput& input) {
        while (input.next() != KX_LEX_END) {
        }
        return KX_LEX_NO_MATCH;
    });
    lex.addFunction("back", [](kxLexInput& input) {
        input.giveBack(input.position());
        EXPECT_EQ(input.place(), (kxTextPlace{1, 1}));
        EXPECT_EQ(kxFatalText([&] { input.giveBack(1); }), "Too Large Pushback in basic parser");
        input.next();
        input.giveBack(2);
        return KX_LEX_OK;
    });
    lex.addAction("note", [&](kxLexCapture& capture) {
        for (std::uint32_t piece = 0; piece < capture.count(); ++piece)
            seen += capture.get(piece).text() + std::string(",");
        seen += ";";
        capture.push(7);
        return capture.get(9).isEmpty() && capture.view(9).empty() ? KX_LEX_OK : KX_LEX_ERROR;
    });
    lex.addAction("refuse", [](kxLexCapture& capture) {
        capture.setFault("not so");
        return KX_LEX_ERROR;
    });
    lex.addFunction("step", [](kxLexInput& input) { return input.giveBack(1), KX_LEX_OK; });
    const auto before = kxTestInput("abc");
    lex.setAdapter(before);
    lex.addRules("first ::= 'a' (step 'x' | 'q' | 'b') $ step fPush");
    EXPECT_EQ(kxOutcome(lex, lex.run("first"), *before), "OK '' <bc>") << "before its own start";
    lex.setAdapter(adapter);
    lex.addRules("main ::= greedy | $ 'a' $ 'b' note note $ '\n' note inner note; inner ::= two note;"
                 "error ::= 'c' | 'a' broken; late ::= two '\n' $ refuse; past ::= two back");
    EXPECT_EQ(kxFatalText([&] { lex.run("past"); }), "Too Large Pushback in basic parser");
    lex.addAction("again", [&](kxLexCapture&) { return lex.run("main"); });
    lex.addRule("within ::= 'ab' again");
    EXPECT_EQ(kxFatalText([&] { lex.run("within"); }), "kxSerializeLex:match within a match");
    lex.addAction("other", [&](kxLexCapture&) { return lex.setAdapter(nullptr), KX_LEX_OK; });
    lex.addRule("within ::= 'ab' other");
    EXPECT_EQ(kxFatalText([&] { lex.run("within"); }), "kxSerializeLex:match within a match");
    EXPECT_EQ(adapter->length(), 7U);
    EXPECT_EQ(lex.run("error"), KX_LEX_ERROR);
    EXPECT_EQ(lex.getError(), "Parse Error:'Function failed' in rule 'error' at (Line:1,Col:2) -> broken");
    EXPECT_EQ(lex.run("late"), KX_LEX_ERROR);
    EXPECT_EQ(lex.getError(), "Parse Error:'not so' in rule 'late' at (Line:2,Col:1) -> refuse");
    lex.addRule("many ::= " + kxTestRepeated("$ ", 101) + "note");
    EXPECT_EQ(lex.run("many"), KX_LEX_ERROR);
    EXPECT_EQ(lex.getError(), "Parse Error:'Too many marks' in rule 'many' at (Line:1,Col:1) -> note");
    EXPECT_EQ(lex.run("main"), KX_LEX_OK);
    EXPECT_EQ(seen, "a,b,;a,b,;\n,;cd,;\ncd,;");
    EXPECT_EQ(lex.valueCount(), 5U);
    EXPECT_EQ(lex.getPlace(), (kxTextPlace{2, 3}));
    EXPECT_EQ(kxOutcome(lex, lex.run("two"), *adapter), "Error 7 7 7 7 7 <\xff!>") << "a function is no rule";
    EXPECT_EQ(kxFatalText([&] { lex.pop(); }), "kxQueue:pop out of data");
}

TEST(kxSerializeLex, TracesRulesAndFunctions)
{
    kxMessageRecorder messages(KX_MESSAGE_DEBUG);
    const auto adapter = kxTestInput("a\n5");
    kxSerializeLex lex(adapter);
    lex.addRules("main ::= 'a' (x | y) fPush; x ::= '\n' digit 'z'; y ::= '\n' fInt");
    lex.run("main");
    EXPECT_TRUE(messages.takeTexts().empty());
    adapter->write("a\n5", 3);
    lex.setTracing(true);
    lex.run("main");
    EXPECT_EQ(
        messages.takeTexts(),
        (std::vector<std::string>{
            "Parsing Rule     : main(Line:2,Col:2)", "Parsing Rule     :  x(Line:2,Col:3)",
            "Parsing Function :   digit(Line:3,Col:1)", "Exit Function    :   digit(Line:3,Col:2)\tResult:OK",
            "Exit Rule        :  x(Line:2,Col:3)\tResult:No Match", "Parsing Rule     :  y(Line:2,Col:3)",
            "Parsing Function :   fInt(Line:3,Col:1)", "Exit Function    :   fInt(Line:3,Col:2)\tResult:OK",
            "Exit Rule        :  y(Line:3,Col:2)\tResult:OK", "Parsing Function :  fPush(Line:3,Col:2)",
            "Exit Function    :  fPush(Line:3,Col:2)\tResult:OK",
            "Exit Rule        : main(Line:3,Col:2)\tResult:OK"}));
    lex.addRules("main ::= x; x ::= '5'? other");
    EXPECT_EQ(lex.run("main"), KX_LEX_ERROR);
    EXPECT_EQ(messages.takeTexts(),
              (std::vector<std::string>{
                  "Parsing Rule     : main(Line:3,Col:2)", "Parsing Rule     :  x(Line:3,Col:2)",
                  "Exit Rule        :  x(Line:3,Col:2)\tResult:Error",
                  "Exit Rule        : main(Line:3,Col:2)\tResult:Error", "Unknow parse function 'other'"}));
    lex.setAdapter(kxTestInput(kxTestRepeated("x", KX_LEX_MAX_RECORDS / 1024)));
    lex.addRules("main ::= ([^]" + kxTestRepeated(" $", 1024) + ")* fPush");
    EXPECT_EQ(lex.run("main"), KX_LEX_ERROR);
    EXPECT_EQ(messages.takeTexts().at(2), "Exit Function    :  fPush(Line:1,Col:4097)\tResult:Error");
}

TEST(kxSerializeLex, ReadsWideCharacters)
{
    const kxMessageRecorder messages;
    const std::string faulty = "Utf lex encoding on faulty data set",
                      zeros = std::string("\0\xAC\x20\xAD\x20\xAC\x20", 7);
    const Row rows[] = {
        {"every character is two bytes", "main ::= 'ab' $ [^x]* fPush $ fInt", kxTestWide("abcdx-"),
         "No Match <" + kxTestWide("abcdx-") + ">"},
        {"numbers", "main ::= $ fNum fPush", kxTestWide("-1.5x"), "OK -1.5 <" + kxTestWide("x") + ">"},
        {"characters beyond a byte", "main ::= $ '\xC3\xA4\xE2\x82\xAC' [^\xE2\x82\xAC] [\xE2\x82\xAC] fPush",
         "\xE4" + zeros, "OK '\xC3\xA4\xE2\x82\xAC\xE2\x82\xAD\xE2\x82\xAC' <>"},
        {"pairs of surrogates", "main ::= $ '\xF0\x9F\x98\x80' fPush",
         "\x3D\xD8" + std::string("\x00\xDE", 2), "OK '\xF0\x9F\x98\x80' <>"},
        {"a scan pattern", "%\xC3\xA4\xE2\x82\xAC%t", "%" + std::string("\0\xE4\0\xAC\x20x\0", 7),
         "OK 'x' <>"},
        {"all goes back in order", "main ::= fEnd 'x'", kxTestWide(kxTestRepeated("abc", 50000)),
         "No Match <" + kxTestWide(kxTestRepeated("abc", 50000)) + ">Adapter out of Data"},
        {"half a pair", "main ::= $ [^] fPush", "\x3D\xD8",
         "Error <\x3D\xD8>Parse Error:'" + faulty + "' in rule 'main' at (Line:1,Col:2) -> fPush"},
        {"half a character stays", "main ::= $ 'a' fPush [^]*", kxTestWide("a") + "b", "OK 'a' <b>"},
        {"half a pair in a set", "main ::= [\xF0\x9F\x98\x80]", "\x3D\xD8", "Error <\x3D\xD8>" + faulty},
        {"rules that are no UTF-8", "main ::= '\xFF'", kxTestWide("a"),
         "Error <" + kxTestWide("a") + ">" + faulty},
    };
    kxExpectRows(rows, [](const Row& row) {
        const auto adapter = kxTestInput(row.input);
        adapter->setFlags(KX_SERIALIZE_WIDE);
        kxSerializeLex lex(adapter);
        const bool isPattern = row.rules.starts_with('%');
        if (!isPattern) lex.addRules(row.rules);
        const kxLexResult result = isPattern ? lex.scan(row.rules) : lex.run("main");
        const std::string error = lex.getError().text();
        return kxOutcome(lex, result, *adapter) + error;
    });
}

TEST(kxSerializeLex, LeavesTheAdapterBehindTheMatch)
{
    const auto adapter = kxTestInput("a=1\nb=22\nc=x");
    kxSerializeLex lex(adapter);
    lex.addRules("line ::= $ fIdent fPush '=' $ fInt fPush fWS");
    EXPECT_EQ(lex.runWhole("line"), KX_LEX_OK);
    EXPECT_EQ(lex.getError(), "Not All arguments were parsed");
    EXPECT_EQ(adapter->readChar(), 'b') << "others can read on";
    adapter->pushBack('b');
    EXPECT_EQ(lex.run("line"), KX_LEX_OK);
    EXPECT_EQ(lex.getPlace(), (kxTextPlace{3, 1}));
    EXPECT_EQ(lex.run("line"), KX_LEX_NO_MATCH);
    EXPECT_EQ(kxOutcome(lex, lex.scan("c=%t"), *adapter), "OK 'a' 1 'b' 22 'x' <>");
    lex.setAdapter(kxTestInput("d=4\n"));
    EXPECT_EQ(lex.runWhole("line"), KX_LEX_OK);
    EXPECT_TRUE(lex.getError().isEmpty());
}
