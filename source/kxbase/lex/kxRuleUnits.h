// The characters that a piece of rule text stands for: its bytes, or in wide mode the UTF-16 of its UTF-8.
//
// Threads: pure functions.
// Errors:  false when the text is no UTF-8; the units are then those up to the fault.
#pragma once

#include "kxbase/string/kxUtf.h"

#include <string>

class kxRuleUnits {
public:
    static bool decode(std::string_view text, bool isWide, std::u16string& units);
};
