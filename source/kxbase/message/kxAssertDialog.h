// Asks at the terminal that controls the process, with one key: R is Retry, I is Ignore, and so is the end of the
// input. While the process is in the background or has no terminal nothing is asked, which is Ignore.
//
// Threads: one question at a time; others wait. A child that is forked while another thread's question is open waits
//          for ever when it asks.
#pragma once

#include "kxbase/core/kxMutex.h"
#include "kxbase/message/kxAssertDialogInterface.h"

class kxAssertDialog : public kxAssertDialogInterface {
public:
    // The mutex could raise, a dialog must not.
    ~kxAssertDialog() noexcept override {}
    kxAssertAnswer ask(const kxString& title, const kxString& text) override;

private:
    kxMutex question_;  // held while the question is open
};
