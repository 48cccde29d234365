// English texts and what they are in other languages.
//
// Structure: a dictionary for each language, whose keys refer to texts that all languages share.
//
// Ownership: owns copies of all texts, outside the tracked memory.
// Threads:   takes no lock. While nothing is added, several threads may look up.
// Errors:    what is added beyond KX_MOST_LANGUAGES languages is dropped. A failed allocation throws
//            std::bad_alloc.
#pragma once

#include "kxbase/containers/kxDict.h"

#include <deque>
#include <functional>
#include <string>
#include <string_view>

constexpr std::size_t KX_MOST_LANGUAGES = 64;

class kxTranslations {
public:
    // What is added next belongs to this English text; with the empty text it is dropped.
    void beginText(std::string_view english);
    // Takes the place of what the text was in this language before; the empty translation leaves none.
    void add(std::string_view language, std::string_view translation);

    bool isEmpty() const noexcept { return languages_.empty(); }
    // Null when the text has no translation. Valid while nothing is added.
    const std::string* find(std::string_view english, std::string_view language) const;

private:
    struct Traits {
        static std::uint32_t hash(std::string_view key) noexcept
        {
            return static_cast<std::uint32_t>(std::hash<std::string_view>()(key));
        }
        static bool isEqual(std::string_view left, std::string_view right) noexcept { return left == right; }
    };
    struct Language {
        explicit Language(std::string_view itsCode);

        const std::string code;
        kxDict<std::string_view, std::string, Traits, kxUntrackedStorage> texts;
    };

    template <typename Languages> static auto* findLanguage(Languages& languages, std::string_view code);
    std::string_view ownEnglish();

    // Neither moves what it holds.
    std::deque<Language> languages_;
    std::deque<std::string> texts_;  // English texts, which are the keys, and their translations
    std::string english_;
    std::string_view ownEnglish_;  // the same in texts_, once it has a translation
};
