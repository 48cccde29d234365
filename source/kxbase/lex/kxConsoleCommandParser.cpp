#include "kxbase/lex/kxConsoleCommandParser.h"

#include <iterator>

namespace {

constexpr std::string_view kGrammar = "quit\t\t::=\t'quit' fQuit;\t\t\t\t\t\t"
                                      "version\t\t::=\t('version'|'ver') fVer;\t\t\t\t"
                                      "alias\t\t::=\t'alias' fAlias;\t\t\t\t\t\t"
                                      "set_var\t\t::=\t'set' WS setters;\t\t\t\t\t"
                                      "get_var\t\t::=\t'get' WS getters;\t\t\t\t\t"
                                      "setters\t\t::=\tset_alias|set_reg;\t\t\t\t\t"
                                      "getters\t\t::=\tget_alias|get_reg;\t\t\t\t\t"
                                      "set_alias\t::=\t'alias' WS $ TXT $ WS $ TXT fSetAlias;\t\t"
                                      "get_alias\t::=\t'alias' WS $ TXT fGetAlias;\t\t\t\t"
                                      "set_reg\t\t::=\t'reg' WS $ id $ WS $ STR $ WS $ STR fSetReg;\t\t"
                                      "get_reg\t\t::=\t'reg' WS $ id $ WS $ STR fGetReg;\t\t\t"
                                      "help\t\t::=\t'help' WS? $ id? fHelp;\t\t\t\t"
                                      "reset\t\t::=\t'reset' WS? $ reset_opts? fReset;\t\t\t"
                                      "reset_opts\t::=\treset_reg;\t\t\t\t\t\t"
                                      "reset_reg\t::=\t'reg' WS $ id fResetReg;\t\t\t\t"
                                      "exec\t\t::=\t'exec' WS $ id $ WS $ STR fExec;\t\t\t"
                                      "main\t\t::=\tquit|version|alias|set_var|get_var|help|reset|exec;\t";
constexpr std::string_view kNames = "WS ::= fWS+; id ::= fIdent; TXT ::= [^ \t\r\n]+; STR ::= fStr | TXT;";

// The words of a capture lie in every other piece.
kxString wordOf(const kxLexCapture& capture, std::uint32_t word)
{
    const kxString text = capture.get(word * 2);
    const bool isQuoted =
        text.length() >= 2 && (text[0] == '"' || text[0] == '\'') && text[0] == text[text.length() - 1U];
    return isQuoted ? text.substring(1, text.length() - 2U) : text;
}

}  // namespace

const kxConsoleCommandParser::Row kxConsoleCommandParser::kRows[] = {
    {"fQuit", [](kxConsoleCommandParser& parser, const Command&) { parser.quit(); }},
    {"fVer", [](kxConsoleCommandParser& parser, const Command&) { parser.showVersion(); }},
    {"fAlias", [](kxConsoleCommandParser& parser, const Command&) { parser.showAliases(); }},
    {"fHelp", [](kxConsoleCommandParser& parser, const Command& c) { parser.showHelp(c.words[0]); }},
    {"fSetAlias",
     [](kxConsoleCommandParser& parser, const Command& c) { parser.setAlias(c.words[0], c.words[1]); }},
    {"fGetAlias", [](kxConsoleCommandParser& parser, const Command& c) { parser.getAlias(c.words[0]); }},
    {"fSetReg", [](kxConsoleCommandParser& parser,
                   const Command& c) { parser.setSetting(c.words[0], c.words[1], c.words[2]); }},
    {"fGetReg",
     [](kxConsoleCommandParser& parser, const Command& c) { parser.getSetting(c.words[0], c.words[1]); }},
    {"fResetReg", [](kxConsoleCommandParser& parser, const Command& c) { parser.resetSettings(c.words[0]); }},
    // Behind options, which have said what to reset, it says nothing more.
    {"fReset",
     [](kxConsoleCommandParser& parser, const Command& c) {
         if (c.words[0].isEmpty()) parser.resetAll();
     }},
    {"fExec",
     [](kxConsoleCommandParser& parser, const Command& c) { parser.execute(c.words[0], c.words[1]); }},
};

kxConsoleCommandParser::kxConsoleCommandParser()
{
    lex_.addRules(kGrammar);
    lex_.addRules(kNames);
    for (const Row& row : kRows) {
        lex_.addAction(row.action, [this, call = row.call](kxLexCapture& capture) {
            commands_.push_back({call, {wordOf(capture, 0), wordOf(capture, 1), wordOf(capture, 2)}});
            return KX_LEX_OK;
        });
    }
}

bool kxConsoleCommandParser::run(const kxString& line)
{
    commands_.clear();
    if (!lex_.runText("main", line.trimmed())) return false;
    // A command may run another line.
    const std::vector<Command> commands = std::move(commands_);
    for (const Command& command : commands) command.call(*this, command);
    return true;
}
