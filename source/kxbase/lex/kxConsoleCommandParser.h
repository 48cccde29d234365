// Understands the lines that are typed at a console.
//
//   quit                        version, ver                     help [NAME]
//   alias                       set alias NAME VALUE             get alias NAME
//   set reg NAME KEY VALUE      get reg NAME KEY                 reset [reg NAME]
//   exec NAME TEXT
//
// A NAME is a letter or "_" and then also digits; an alias and its value are words, KEY, VALUE and TEXT words or texts
// in quotes, which they lose.
//
// Threads:   takes no lock; one thread at a time.
// Errors:    run() answers false for a line that is no command as a whole; nothing is called then, and getError()
//            says why.
#pragma once

#include "kxbase/lex/kxSerializeLex.h"

class kxConsoleCommandParser {
public:
    kxConsoleCommandParser();
    virtual ~kxConsoleCommandParser() = default;

    // White space at both ends of the line does not matter.
    bool run(const kxString& line);
    const kxString& getError() const { return lex_.getError(); }

protected:
    virtual void quit() = 0;
    virtual void showVersion() = 0;
    // `name` is empty when help is wanted on everything.
    virtual void showHelp(const kxString& name) = 0;
    virtual void showAliases() = 0;
    virtual void setAlias(const kxString& name, const kxString& value) = 0;
    virtual void getAlias(const kxString& name) = 0;
    virtual void setSetting(const kxString& name, const kxString& key, const kxString& value) = 0;
    virtual void getSetting(const kxString& name, const kxString& key) = 0;
    // What "reset" alone means.
    virtual void resetAll() = 0;
    virtual void resetSettings(const kxString& name) = 0;
    virtual void execute(const kxString& name, const kxString& text) = 0;

private:
    // The pieces of a command, without the blanks between them.
    struct Command {
        void (*call)(kxConsoleCommandParser& parser, const Command& command);
        kxString words[3];
    };
    struct Row {
        std::string_view action;
        decltype(Command::call) call;
    };
    static const Row kRows[];

    kxSerializeLex lex_;
    std::vector<Command> commands_;  // of the line, called when it was understood as a whole
};
