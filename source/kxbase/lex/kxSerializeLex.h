// Matches a byte stream against a grammar that is given as text, and hands out what it found as dynamic values.
//
//   kxSerializeLex lex(adapter);
//   lex.addRules("entry ::= $ fIdent fPush '=' $ fPlain fPush; main ::= (entry fWS*)*;");
//   if (lex.run("main") == KX_LEX_OK)
//       while (lex.hasValue()) use(lex.pop());
//
// The rule language is described in docs/rule-language.md. What a run takes is gone from the adapter, all else is
// still there; a run that does not match takes nothing and pushes nothing.
//
// Ownership: holds a reference to the adapter; owns rules and values.
// Threads:   takes no lock; one thread at a time.
// Errors:    nothing is thrown but by functions of the program; taking a value when there is none is fatal, and so is a
//            match or another adapter from within a function or an action of the same lexer. A rule
//            that is not well formed sends Warnings and leaves the rule of that name as it was. KX_LEX_ERROR and
//            some other ends of a run leave an error text.
// Units:     characters are bytes, or in wide mode pairs of bytes, low byte first.
#pragma once

#include "kxbase/dynamic/kxDynamicType.h"
#include "kxbase/lex/kxLexCapture.h"
#include "kxbase/lex/kxLexTrace.h"
#include "kxbase/lex/kxMatchMachine.h"
#include "kxbase/lex/kxRulePrograms.h"

// Bytes of a rule, and of a rule set that is read from a URL.
constexpr std::uint32_t KX_LEX_MAX_RULE_BYTES = 1024 * 1024;

class kxSerializeLex {
public:
    explicit kxSerializeLex(const kxRefPointer<kxSerializeAdapter>& adapter = nullptr);
    kxSerializeLex(const kxSerializeLex&) = delete;
    kxSerializeLex& operator=(const kxSerializeLex&) = delete;

    // Reads from this adapter; wide mode follows its flags. Lines are counted from 1 again.
    void setAdapter(const kxRefPointer<kxSerializeAdapter>& adapter);
    void setWide(bool isWide);

    // Adds one rule, `name ::= expression`. It replaces the rule or function of that name.
    bool addRule(std::string_view text);
    // Adds the rules of a set, each ended by ";". False when one was not well formed; the others are added. Faults name
    // the line and the column in the set.
    bool addRules(std::string_view set);
    // The same from a URL. False also when there is nothing to read, or too much.
    bool loadRules(const kxString& url);
    // Makes a function of the program known under a name.
    void addFunction(std::string_view name, kxParserFunction function);
    void addAction(std::string_view name, kxLexAction action);
    void add(const kxRefPointer<kxFuncInfo>& function) { names_.set(function); }
    // Of numbers that fPush and %n take. False for a character that cannot be one: only punctuation of ASCII can, but
    // for signs and the single quote.
    bool setDecimalSeparator(char separator);

    // Matches a rule at the adapter's position.
    kxLexResult run(const kxString& rule);
    // The same; input that is left over leaves the error text "Not All arguments were parsed".
    kxLexResult runWhole(const kxString& rule);
    // Matches a rule against a text as a whole, from an adapter of its own. False when that is not so; then there is an
    // error text, and there may be values nevertheless.
    bool runText(const kxString& rule, const kxString& text);
    // Matches a scan pattern, which becomes the rule "main".
    kxLexResult scan(std::string_view pattern);

    // Values that matches have pushed and nobody has taken, in order.
    bool hasValue() const { return !values_.isEmpty(); }
    std::uint32_t valueCount() const { return values_.length(); }
    kxDynamicType pop() { return values_.pop(); }
    void clearValues() { values_.clear(); }

    // Of the last run or the last rules; empty when there was none.
    const kxString& getError() const { return error_; }
    // Of the next character on the adapter, counted from where the lexer began.
    kxTextPlace getPlace() { return input_.place(); }

    void setTracing(bool traces) { traces_ = traces; }
    // Characters that one run can read, and steps that it may use beyond those for each character; see KX_LEX_STEPS.
    void setHistoryLimit(std::uint32_t characters) { input_.setHistoryLimit(characters); }
    void setStepLimit(std::int64_t steps) { machine_.setSteps(steps); }

private:
    // What decides the rule of a scan pattern: the pattern, the version of the names and the decimal separator.
    struct Scanned {
        std::string_view pattern;
        std::uint64_t version;
        char separator;
        friend bool operator==(const Scanned&, const Scanned&) = default;
    };

    void refuseWithinMatch() const;
    bool compile(std::string_view text, const kxTextPlace& place = {});
    bool addRulesOf(std::string_view set, const char* malformed, const kxString& source);
    bool fail(const kxString& text);
    kxLexResult match(const kxRuleProgram& program);
    void finishMatch(std::uint32_t position);
    kxLexResult matchAndDeliver(const kxRuleProgram& program);
    bool deliver(const kxRuleProgram& program);
    void setFault(const kxRuleProgram& program, const kxString& fault, std::uint32_t instruction,
                  std::uint32_t position);

    kxLexNames names_;
    kxRulePrograms programs_;
    kxRefPointer<kxSerializeAdapter> adapter_;
    kxLexInput input_;
    kxMatchLog log_;
    kxMatchMachine machine_{input_, log_};
    kxLexTrace trace_;
    kxQueue<kxDynamicType> values_{KX_QUEUE_FIFO};
    kxString error_;
    std::string pattern_;  // that scan() has made rule "main" of
    Scanned scanned_{};
    char decimalSeparator_ = '.';
    bool isWide_ = false;
    bool traces_ = false;
    bool isMatching_ = false;
};
