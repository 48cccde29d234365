// Cuts a command line into words: white space outside quotes separates them.
//
// A piece in quotes, '...' or "...", is one token with the white space inside; a quote whose partner is
// missing is an ordinary character. Tokens that touch make one word. A token that begins with a quote loses
// all quotes of that kind at both of its ends.
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
    std::string_view takeToken();

    std::string_view rest_;
};
