// The headers whose values have a grammar here, and what is reported about a value that is not of it.
#pragma once

#include "kxbase/protocol/kxHttpCursor.h"
#include "kxbase/protocol/kxHttpFacts.h"

// Reads a value without the blanks around it, up to where its grammar ends; false leaves the fault in the cursor.
using kxHttpValueRule = bool (*)(kxHttpCursor& value, kxHttpFacts& facts);

struct kxHttpHeaderRow {
    std::string_view name = {};      // in small letters
    kxHttpValueRule rule = nullptr;  // null: the value is not looked at
    // When something follows what the rule takes, or a control byte is in the way.
    const char* missingLineEnd = nullptr;
    const char* notImplemented = nullptr;  // reported instead of a rule
    bool isNeeded = false;                 // without a usable value the end of the message is not known
};

// The row of a name in any case, or that of all other headers.
const kxHttpHeaderRow& kxHttpFindHeader(std::string_view name) noexcept;
