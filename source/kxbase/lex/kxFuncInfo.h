// A function of a lexer: its name and what it does where a rule names it.
//
// Ownership: held by the lexer's names and by the programs that refer to it.
// Threads:   read-only; the functions themselves are the program's.
#pragma once

#include "kxbase/lex/kxLexInput.h"
#include "kxbase/lex/kxLexResult.h"
#include "kxbase/lex/kxUnitSet.h"
#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxReference.h"

#include <functional>
#include <vector>

class kxLexCapture;

// Matches at the input's position. Whatever it answers but KX_LEX_OK, everything it read is given back. It may end
// before its start, by giving back what others have read; then the match goes on there, and texts from a later mark
// are empty.
using kxParserFunction = std::function<kxLexResult(kxLexInput& input)>;
// Takes what was matched between the marks; called in order when the whole match has succeeded. Anything but
// KX_LEX_OK makes the match an error.
using kxLexAction = std::function<kxLexResult(kxLexCapture& capture)>;

enum kxFuncKind : std::uint8_t {
    KX_FUNC_CHARACTER,    // one character of a set
    KX_FUNC_MATCH,        // a kxParserFunction
    KX_FUNC_PUSH,         // pushes the text since the mark, as a number when it is one
    KX_FUNC_PUSH_QUOTED,  // pushes it as a string without its enclosing quotes
    KX_FUNC_PUSH_TEXT,    // pushes it as a string
    KX_FUNC_ACTION,       // a kxLexAction
};

class kxFuncInfo : public kxReference {
public:
    static kxRefPointer<kxFuncInfo> ofCharacters(std::string_view name, const kxUnitSet& characters)
    {
        return new kxFuncInfo(name, KX_FUNC_CHARACTER, characters);
    }
    // `first` are the characters with which a match can begin.
    static kxRefPointer<kxFuncInfo> ofMatch(std::string_view name, kxParserFunction function,
                                            const kxUnitSet& first = kxUnitSet::all())
    {
        return new kxFuncInfo(name, KX_FUNC_MATCH, first, std::move(function));
    }
    // One of the kinds that push.
    static kxRefPointer<kxFuncInfo> ofPush(std::string_view name, kxFuncKind kind)
    {
        return new kxFuncInfo(name, kind, kxUnitSet::all());
    }
    static kxRefPointer<kxFuncInfo> ofAction(std::string_view name, kxLexAction action)
    {
        return new kxFuncInfo(name, KX_FUNC_ACTION, kxUnitSet::all(), nullptr, std::move(action));
    }

    const std::string& name() const { return name_; }
    kxFuncKind kind() const { return kind_; }
    // Whether it takes no input.
    bool isAction() const { return kind_ != KX_FUNC_CHARACTER && kind_ != KX_FUNC_MATCH; }
    // The characters of KX_FUNC_CHARACTER. Of KX_FUNC_MATCH those that a match can begin with, which saves calls.
    const kxUnitSet& first() const { return first_; }
    const kxParserFunction& function() const { return function_; }
    const kxLexAction& action() const { return action_; }

private:
    kxFuncInfo(std::string_view name, kxFuncKind kind, const kxUnitSet& first,
               kxParserFunction function = nullptr, kxLexAction action = nullptr)
        : name_(name), kind_(kind), first_(first), function_(std::move(function)), action_(std::move(action))
    {}

    const std::string name_;
    const kxFuncKind kind_;
    const kxUnitSet first_;
    const kxParserFunction function_;
    const kxLexAction action_;
};
