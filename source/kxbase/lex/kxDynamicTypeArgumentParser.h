// Reads a list of arguments as dynamic values:  1.5, 'text', "text", yes, [1, [2, 3]], {01234567-89AB-...}
//
//   number   "num", or "llnum" for whole numbers beyond 53 bits       text   "str", without its quotes
//   boolean  "num": 1 for yes and true, 0 for no and false            array  "array", not empty
//   GUID     "guid"
//
// Ownership: owns the values.
// Threads:   takes no lock; one thread at a time.
// Errors:    parse() answers false, and getError() says why; what was understood up to there is kept. A list is
//            limited by the length of a kxString, arrays go 60 levels deep.
#pragma once

#include "kxbase/dynamic/kxDynamicTypeArray.h"
#include "kxbase/lex/kxSerializeLex.h"

class kxDynamicTypeArgumentParser {
public:
    kxDynamicTypeArgumentParser();

    bool parse(const kxString& text);
    const kxDynamicTypeArray& getArguments() const { return arguments_; }
    const kxString& getError() const { return lex_.getError(); }

private:
    using Action = kxLexResult (kxDynamicTypeArgumentParser::*)(kxLexCapture&);

    void addAction(std::string_view name, Action action);
    kxLexResult add(kxDynamicType value);
    kxLexResult beginArray(kxLexCapture& capture);
    kxLexResult endArray(kxLexCapture& capture);
    kxLexResult addBoolean(kxLexCapture& capture);
    kxLexResult addString(kxLexCapture& capture);
    kxLexResult addNumber(kxLexCapture& capture);
    kxLexResult addGuid(kxLexCapture& capture);

    kxSerializeLex lex_;
    kxDynamicTypeArray arguments_;
    std::vector<kxDynamicTypeArray> open_;  // arrays that have not ended
};
