// Asks what is to be done about a failed assertion.
//
// Threads: called on the thread that sends the message, by several threads at once.
// Errors:  where nobody can be asked, the answer is Ignore.
#pragma once

#include "kxbase/string/kxString.h"

enum kxAssertAnswer : std::uint8_t {
    KX_ASSERT_IGNORE,  // go on
    KX_ASSERT_RETRY,   // stop in the debugger
};

class kxAssertDialogInterface {
public:
    virtual ~kxAssertDialogInterface() = default;
    // Shows the text under the title and waits for the answer.
    virtual kxAssertAnswer ask(const kxString& title, const kxString& text) = 0;
};
