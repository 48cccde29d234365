// Cuts a command line into words: white space outside quotes separates them.
//
// A piece in quotes, '...' or "...", keeps its white space and loses its quotes; a quote whose partner is
// missing is an ordinary character. Pieces that touch make one word, so that ''x'' is x.
//
// Ownership: refers to the text, which must outlive the splitter.
// Threads:   a plain value.
// Errors:    none; every text has words or none.
#pragma once

#include <string>
#include <string_view>

class kxWordSplitter {
public:
    explicit kxWordSplitter(std::string_view text) : rest_(text) {}

    // Takes the next word that is not empty; answers false at the end.
    bool next(std::string& word);

private:
    std::string_view takePiece();

    std::string_view rest_;
};
