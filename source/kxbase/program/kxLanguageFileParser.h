// Reads a language file, in pieces of any size as they come:
//
//   # a comment
//   "Could not open '%s'"
//   deu "'%s' konnte nicht geöffnet werden"
//   fra "Impossible d'ouvrir '%s'"
//
// A line with a text in double quotes is an English text; each line behind it with a language's code and a text in
// double quotes is its translation. In quotes \n, \r, \t, \\ and \" stand for line feed, carriage return, tab,
// backslash and quote; any other backslash stands for itself. White space around all this, empty lines and lines
// that start with # do not count; lines end with LF, CR or both. The last translation of a text into a language
// counts; an empty one takes back those before it.
//
// The file is UTF-16. Without a byte order mark it is little-endian. Pairs of surrogates are joined; a half
// without its partner becomes U+FFFD.
//
// Ownership: refers to the translations, which must outlive it.
// Threads:   takes no lock.
// Errors:    silent. A line that is none of the above is skipped, and behind an English text that is faulty its
//            translations are, too. So is what has more than KX_STRING_MAX_LENGTH bytes as UTF-8, and a line of
//            more than KX_MOST_LINE_UNITS units from its first one on that is no white space. No more of a line
//            is kept. A failed allocation throws std::bad_alloc.
#pragma once

#include "kxbase/program/kxTranslations.h"
#include "kxbase/string/kxString.h"

#include <optional>

// Every character of the longest text escaped, and room for a code.
constexpr std::size_t KX_MOST_LINE_UNITS = 2 * KX_STRING_MAX_LENGTH + 1024;

class kxLanguageFileParser {
public:
    explicit kxLanguageFileParser(kxTranslations& translations) : translations_(translations) {}

    void feed(const std::uint8_t* bytes, std::size_t count);
    // Takes a last line without a line end.
    void finish() { takeLine(); }

private:
    void takeUnit(char16_t unit);
    void takeLine();
    void takeTranslation(std::u16string_view line);

    kxTranslations& translations_;
    std::u16string line_;
    std::optional<std::uint8_t> firstByte_;  // of a unit whose second one has not come yet
    bool isAtStart_ = true;
    bool isSwapped_ = false;  // the first byte of a unit is the high one
};
