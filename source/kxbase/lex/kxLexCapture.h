// What an action of a lexer works on: the texts between the marks before it, and where its values go.
//
// Ownership: refers to the lexer's match; valid during the call.
// Threads:   takes no lock; one thread at a time.
// Errors:    a piece that is too long for a kxString makes the match an error once get() was asked for it; view()
//            shows it whole.
#pragma once

#include "kxbase/dynamic/kxDynamicType.h"

#include <vector>

class kxLexCapture {
public:
    explicit kxLexCapture(std::vector<kxDynamicType>& values) : values_(values) {}

    // Pieces, in order: from each mark to the next one, the last one to where the action stands. Without a mark there
    // is one, from the beginning of the rule.
    std::uint32_t count() const { return static_cast<std::uint32_t>(pieces_.size()); }
    // A piece; empty beyond count().
    kxString get(std::uint32_t piece) const
    {
        hasLost_ = hasLost_ || view(piece).size() > KX_STRING_MAX_LENGTH;
        return kxString(view(piece));
    }
    std::string_view view(std::uint32_t piece) const
    {
        return piece < count() ? std::string_view(pieces_[piece]) : std::string_view();
    }

    void push(kxDynamicType value) { values_.push_back(std::move(value)); }
    // What the error text says when the action answers KX_LEX_ERROR.
    void setFault(const kxString& text) { fault_ = text; }

private:
    friend class kxMatchDelivery;

    std::vector<std::string> pieces_;
    std::vector<kxDynamicType>& values_;
    kxString fault_;
    mutable bool hasLost_ = false;  // get() could not hand out all of a piece
};
