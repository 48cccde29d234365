// While it lives, every text is translated, into itself in angle brackets.
#pragma once

#include "kxbase/message/kxMessageManager.h"

class kxMarkingTranslator : private kxMessageTranslatorInterface {
public:
    kxMarkingTranslator() { kxMessageManager::instance().setTranslator(this); }
    ~kxMarkingTranslator() override { kxMessageManager::instance().setTranslator(nullptr); }

private:
    kxString translate(std::string_view text, const kxString&, std::uint32_t) override
    {
        return kxString("<" + std::string(text) + ">");
    }
};
