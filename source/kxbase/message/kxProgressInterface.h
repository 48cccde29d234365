// Shows how far a long operation has come.
//
// Ownership: belongs to whoever makes it; an operation refers to it while it runs.
// Threads:   called on the thread of the operation, by several threads at once.
// Errors:    must not throw.
// Units:     percent of the whole operation; 100 and above say that it is complete.
#pragma once

#include "kxbase/string/kxString.h"

class kxProgressInterface {
public:
    virtual ~kxProgressInterface() = default;
    // `text` names the operation. Called as often as the operation likes, also with the same values.
    virtual void progress(std::int32_t percentage, const kxString& text) = 0;
};
