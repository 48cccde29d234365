// Translates texts of the library.
//
// Threads: called on any thread, by several threads at once.
// Errors:  a text without a translation gives the empty string.
#pragma once

#include "kxbase/string/kxString.h"

class kxMessageTranslatorInterface {
public:
    virtual ~kxMessageTranslatorInterface() = default;
    // `module` names the unit that the text belongs to.
    virtual kxString translate(std::string_view text, const kxString& module, std::uint32_t level) = 0;
};
