#include "kxbase/program/kxTranslations.h"

#include <algorithm>

// Null when there is none.
template <typename Languages> auto* kxTranslations::findLanguage(Languages& languages, std::string_view code)
{
    const auto place = std::find_if(languages.begin(), languages.end(),
                                    [=](const Language& each) { return each.code == code; });
    return place != languages.end() ? &*place : nullptr;
}

// Several threads look up at the same time, so a lookup must remember nothing.
kxTranslations::Language::Language(std::string_view itsCode) : code(itsCode)
{
    texts.setNoCache(true);
}

void kxTranslations::beginText(std::string_view english)
{
    english_ = english;
    ownEnglish_ = {};
}

void kxTranslations::add(std::string_view language, std::string_view translation)
{
    if (english_.empty()) return;
    Language* place = findLanguage(languages_, language);
    if (translation.empty()) {
        if (place != nullptr) place->texts.remove(english_);
        return;
    }
    if (place == nullptr && languages_.size() == KX_MOST_LANGUAGES) return;
    if (place == nullptr) place = &languages_.emplace_back(language);
    if (std::string* const before = place->texts.find(english_)) {
        *before = translation;
        return;
    }
    const std::string_view key = ownEnglish();
    place->texts.insert(key, &texts_.emplace_back(translation));
}

const std::string* kxTranslations::find(std::string_view english, std::string_view language) const
{
    const Language* const place = findLanguage(languages_, language);
    return place != nullptr ? place->texts.find(english) : nullptr;
}

std::string_view kxTranslations::ownEnglish()
{
    if (ownEnglish_.empty()) ownEnglish_ = texts_.emplace_back(english_);
    return ownEnglish_;
}
