#include "kxbase/lex/kxConsoleCommandParser.h"
#include "kxbase/lex/kxDynamicTypeArgumentParser.h"
#include "kxbase/lex/kxRegKeyExpandParser.h"
#include "lex/kxLexOutcome.h"

namespace {

class Expander : public kxRegKeyExpandParser {
protected:
    std::optional<kxString> findSetting(const kxString& name) override
    {
        if (name == "long") return kxString(kxTestRepeated("x", 40000));
        return name.startsWith("k") ? std::optional<kxString>(name + "=$(k)") : std::nullopt;
    }
    std::optional<kxString> findInterface(const kxString& name) override
    {
        return name == "eth0" ? std::optional<kxString>("10.0.0.1") : std::nullopt;
    }
};

class Console : public kxConsoleCommandParser {
public:
    std::string told;

protected:
    void quit() override { told += "quit"; }
    void showVersion() override { told += "version"; }
    void showHelp(const kxString& name) override { tell("help", name); }
    void showAliases() override { told += "aliases"; }
    void setAlias(const kxString& name, const kxString& value) override { tell("alias", name, value); }
    void getAlias(const kxString& name) override { tell("alias?", name); }
    void setSetting(const kxString& name, const kxString& key, const kxString& value) override
    {
        tell("set", name, key, value);
    }
    void getSetting(const kxString& name, const kxString& key) override { tell("get", name, key); }
    void resetAll() override { told += "reset"; }
    void resetSettings(const kxString& name) override { tell("reset", name); }
    void execute(const kxString& name, const kxString& text) override { tell("exec", name, text); }

private:
    template <typename... Words> void tell(const char* what, const Words&... words)
    {
        told += what;
        ((told += "|" + std::string(words.view())), ...);
    }
};

}  // namespace

TEST(kxDynamicTypeArgumentParser, ReadsLists)
{
    const kxMessageRecorder messages;
    const std::string guid = "{01234567-89AB-CDEF-0123-456789ABCDEF}";
    const kxTestRow rows[] = {
        {"every kind", "1.5, 'a\"b',\"it's\" ,yes,[1, [2, 'x']]," + guid,
         "[1.5 'a\"b' 'it's' 1 [1 [2 'x']] " + guid + "]"},
        {"numbers", " -5 , +1e3, 9007199254740993 ", "[-5 1000 9007199254740993L]"},
        {"booleans", "YES,No,tRue,FALSE", "[1 0 1 0]"},
        {"the fault is where the action stands", "fals,1,1,1",
         "[] Parse Error:'Neither yes, no, true nor false' in rule 'boolean' at (Line:1,Col:5) -> fBool "},
        {"more than a list", "1, 2 x", "[1 2] Not All arguments were parsed"},
        {"a comma too many", "1,", "[1] Not All arguments were parsed"},
        {"nothing", "", "[] Adapter out of Data"},
        {"no argument", "x", "[] Not All arguments were parsed"},
        {"a GUID that is too short", "{0123}", "[] Not All arguments were parsed"},
        {"deep arrays", kxTestRepeated("[", 60) + "7" + kxTestRepeated("]", 60),
         "[" + kxTestRepeated("[", 60) + "7" + kxTestRepeated("]", 60) + "]"},
    };
    kxDynamicTypeArgumentParser parser;
    kxExpectRows(rows, [&](const kxTestRow& row) {
        const bool isRight = parser.parse(kxString(row.text));
        EXPECT_EQ(isRight, parser.getError().isEmpty());
        return kxPrinted(parser.getArguments()) + (isRight ? "" : " ") + parser.getError().text();
    });
    EXPECT_FALSE(parser.parse(kxString(kxTestRepeated("[", 61) + "7" + kxTestRepeated("]", 61))));
    EXPECT_TRUE(parser.getError().contains("Too many nested arrays")) << parser.getError();
    EXPECT_TRUE(parser.parse(kxString(kxTestRepeated("1,", 30000) + "2")));
    EXPECT_EQ(parser.getArguments().count(), 30001U);
}

TEST(kxRegKeyExpandParser, PutsValuesIn)
{
    const kxMessageRecorder messages;
    const kxTestRow rows[] = {
        {"nothing", "", ""},
        {"settings and interfaces", "<$(key)|${eth0}>", "<key=$(k)|10.0.0.1>"},
        {"what nobody knows stays", "$(x)${eth1}$()", "$(x)${eth1}$()"},
        {"a reference that does not end", "a$(key", "Not All arguments were parsed"},
        {"a text that becomes too long", "$(long)$(long)", "Too many characters in kxString"},
    };
    Expander expander;
    kxExpectRows(rows, [&](const kxTestRow& row) {
        kxString expanded("before");
        const bool isRight = expander.expand(kxString(row.text), expanded);
        EXPECT_EQ(isRight, expander.getError().isEmpty());
        return std::string(expanded.view()) + expander.getError().text();
    });
    kxString expanded;
    EXPECT_TRUE(kxRegKeyExpandParser().expand("$(PATH)${lo}", expanded));
    EXPECT_EQ(expanded, kxString(std::getenv("PATH")) + "${lo}");
}

TEST(kxConsoleCommandParser, UnderstandsCommands)
{
    const kxMessageRecorder messages;
    const kxTestRow rows[] = {
        {"single words", " quit\n", "quit"},
        {"the shorter form", "ver", "version"},
        {"all aliases", "alias", "aliases"},
        {"an alias is made of words", "set alias  ll\tls-l", "alias|ll|ls-l"},
        {"reading one", "get alias ll", "alias?|ll"},
        {"settings", "set reg user 'a key' \"it's\"", "set|user|a key|it's"},
        {"reading one", "get reg user key", "get|user|key"},
        {"help", "help", "help|"},
        {"help on a name", "help set", "help|set"},
        {"reset", "reset", "reset"},
        {"exec", "exec job 'x y'", "exec|job|x y"},
        {"no command", "bye", "Not All arguments were parsed"},
        {"nothing is done by half", "quit now", "Not All arguments were parsed"},
        {"a word is missing", "set alias ll", "Adapter out of Data"},
    };
    kxExpectRows(rows, [](const kxTestRow& row) {
        Console console;
        const bool isRight = console.run(kxString(row.text));
        EXPECT_EQ(isRight, console.getError().isEmpty());
        return console.told + console.getError().text();
    });
}
