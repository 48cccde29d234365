// Cuts a set of rules into its rules: a ";" ends one, unless it stands in a quote, a set or a comment.
//
// A quote, set or comment that does not end is taken as plain characters, so that one faulty rule does not swallow
// those behind it. Pieces of nothing but white space and comments are no rules.
//
// Ownership: refers to the text, which must outlive the splitter.
// Threads:   a plain value.
// Errors:    none; faults of a rule are found when it is compiled.
#pragma once

#include "kxbase/lex/kxTextPlace.h"

class kxRuleSplitter {
public:
    struct Piece {
        std::string_view text;     // from the rule's first character to before its ";"
        kxTextPlace place;         // of its first character in the set
        std::uint32_t number = 0;  // from 1
    };

    explicit kxRuleSplitter(std::string_view text) : text_(text) {}

    // Takes the next rule; answers false at the end.
    bool next(Piece& piece);

private:
    std::size_t endOfRule(std::size_t at);
    std::size_t skipBlanks(std::size_t at);
    std::size_t skipPiece(std::size_t at);

    std::string_view text_;
    std::size_t at_ = 0;
    kxTextPlace place_;  // of at_
    std::uint32_t number_ = 0;
    std::string_view missing_[4];  // closers that do not come any more
    std::uint32_t missingCount_ = 0;
};
