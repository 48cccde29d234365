// What an action of a lexer works on: the texts between the marks before it, and where its values go.
//
// A text is copied out of the input when the action asks for it, and only then does it count towards the texts that one
// match may take.
//
// Ownership: refers to the delivery of the lexer's match; valid during the call, and so are the texts it shows.
// Threads:   takes no lock; one thread at a time.
// Errors:    a text that cannot be had (too many bytes for one match, wide characters that are none) is empty, and the
//            match becomes an error. So does get() for a piece that is too long for a kxString; view() shows it whole.
#pragma once

#include "kxbase/dynamic/kxDynamicType.h"

#include <string>
#include <vector>

class kxMatchDelivery;

class kxLexCapture {
public:
    explicit kxLexCapture(kxMatchDelivery& delivery) : delivery_(delivery) {}

    // Pieces, in order: from each mark to the next one, the last one to where the action stands. Without a mark there
    // is one, from the beginning of the rule.
    std::uint32_t count() const
    {
        return borders_.empty() ? 0 : static_cast<std::uint32_t>(borders_.size() - 1);
    }
    // A piece; empty beyond count().
    kxString get(std::uint32_t piece) const;
    std::string_view view(std::uint32_t piece) const;

    void push(kxDynamicType value);
    // What the error text says when the action answers KX_LEX_ERROR.
    void setFault(const kxString& text) { fault_ = text; }

private:
    friend class kxMatchDelivery;

    struct Piece {
        std::string text;
        bool isCopied = false;
    };

    // Before the next action, whose borders are those in borders_.
    void begin();

    kxMatchDelivery& delivery_;
    std::vector<std::uint32_t> borders_;  // of the pieces, in the input
    mutable std::vector<Piece> pieces_;   // at least as many
    kxString fault_;
};
