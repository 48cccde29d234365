#include "kxbase/lex/kxWordSplitter.h"

#include "kxbase/string/kxWhiteSpace.h"

namespace {

bool isQuote(char character)
{
    return character == '\'' || character == '"';
}

// Length of the quoted piece that the text begins with; 0 when it begins with none.
std::size_t quotedLength(std::string_view text)
{
    if (!isQuote(text.front())) return 0;
    const std::size_t partner = text.find(text.front(), 1);
    return partner == std::string_view::npos ? 0 : partner + 1;
}

}  // namespace

bool kxWordSplitter::next(std::string& word)
{
    word.clear();
    while (!rest_.empty()) {
        if (!kxIsWhiteSpace(rest_.front())) {
            word += takePiece();
        } else {
            rest_.remove_prefix(1);
            if (!word.empty()) return true;
        }
    }
    return !word.empty();
}

// Takes what stands in quotes, or everything up to white space or to the next quoted piece.
std::string_view kxWordSplitter::takePiece()
{
    const std::size_t quoted = quotedLength(rest_);
    std::size_t length = quoted != 0 ? quoted : 1;
    while (quoted == 0 && length < rest_.size() && !kxIsWhiteSpace(rest_[length]) &&
           quotedLength(rest_.substr(length)) == 0) {
        ++length;
    }
    const std::string_view piece = quoted != 0 ? rest_.substr(1, quoted - 2) : rest_.substr(0, length);
    rest_.remove_prefix(length);
    return piece;
}
