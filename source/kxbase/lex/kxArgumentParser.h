// Splits a command line into options (words that begin with a prefix) and plain arguments (all others, the
// program's own path included).
//
// An option owns no values: it remembers how many arguments stood before it. Its values are the arguments up
// to the next option or the end. So `prog -URL tcp::1 extra -ping` has the arguments prog, tcp::1 and extra;
// URL has two values from index 1 on, ping has none. A word that goes on behind the prefix as a number
// other than zero is an argument: -5 is a value, -0 an option.
//
// Quotes, '...' or "...", group a piece of a word; a quote without a partner is an ordinary character.
//
// Ownership: owns everything it holds.
// Threads:   takes no lock; one thread at a time.
// Errors:    a missing value gives the default; when no default is wanted, the usage and the error go out as
//            Warnings and the process ends with 99. With ending switched off nothing is sent, the answer is
//            empty and getErrorText() says why.
// Units:     indices and counts are in words, from 0.
#pragma once

#include "kxbase/containers/kxRefList.h"
#include "kxbase/object/kxReference.h"
#include "kxbase/string/kxString.h"

class kxArgumentParser {
public:
    class kxArgOption;
    class kxArgArgument;

    // Joins the words with blanks and parses the result: what the shell grouped without quotes of its own is
    // taken apart again. More than 65535 bytes are a fatal error.
    kxArgumentParser(std::int32_t argumentCount, const char* const* arguments, const kxString& prefix = "-");
    virtual ~kxArgumentParser();

    // Replaces everything parsed so far. The texts are copied first, since they may be the parser's own.
    void setArguments(kxString commandLine, kxString prefix = "-");

    // A value of the first option of that name; the default when there is no such option. When the option has
    // too few values: the default, or an error.
    kxString getOptionValue(const kxString& name, const kxString& defaultValue,
                            std::uint32_t argumentNumber = 0, bool useDefaultIfMissing = true,
                            bool caseSensitive = false);
    // Whether an option of that name is present; only then its start index and value count are stored.
    bool hasOption(const kxString& name, bool caseSensitive = false, std::uint32_t* startIndex = nullptr,
                   std::uint32_t* valueCount = nullptr) const;

    // A line of usage shown before an error, without the program's path.
    void setSyntaxText(const kxString& syntax) { syntaxText_ = syntax; }
    // Whether an error ends the process, as it does at first.
    void setExitOnError(bool exits) { exitOnError_ = exits; }

    const kxRefList<kxArgOption>& getOptions() const { return options_; }
    const kxRefList<kxArgArgument>& getArguments() const { return arguments_; }
    // The last error; empty after parsing.
    const kxString& getErrorText() const { return errorText_; }
    // The command line as last parsed.
    const kxString& getArgumentString() const { return argumentString_; }

private:
    struct Found;

    void record(const kxString& word, const kxString& prefix);
    Found findOption(const kxString& name, bool caseSensitive) const;
    void reportError() const;

    kxRefList<kxArgOption> options_;
    kxRefList<kxArgArgument> arguments_;
    kxString errorText_;
    kxString syntaxText_;
    kxString argumentString_;
    bool exitOnError_ = true;
};

// A word that begins with the prefix.
class kxArgumentParser::kxArgOption : public kxReference {
public:
    kxArgOption(const kxString& name, std::uint32_t startIndex) : name_(name), startIndex_(startIndex) {}

    // The word without the prefix.
    const kxString& getName() const { return name_; }
    // Arguments that stood before the option, which is the index of its first value.
    std::uint32_t getStartIndex() const { return startIndex_; }

private:
    kxString name_;
    std::uint32_t startIndex_;
};

// A plain word, its quotes removed.
class kxArgumentParser::kxArgArgument : public kxReference {
public:
    explicit kxArgArgument(const kxString& value) : value_(value) {}

    const kxString& getValue() const { return value_; }
    // Whether the word was handed out as the value of an option.
    bool isUsed() const { return used_; }
    void setUsed() { used_ = true; }

private:
    kxString value_;
    bool used_ = false;
};
