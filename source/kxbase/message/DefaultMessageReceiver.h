// Writes messages to standard output: a carriage return, the sender with the level's prefix, the text and a
// line feed. The carriage return overwrites a progress line. For an Assert, asks in addition whether to stop in
// the debugger.
//
// Sender and prefix are cut at 1023 bytes, the text is not.
//
// Ownership: refers to the dialog, which must outlive its use.
// Threads:   called by several threads at once; messages are not mixed with each other. While the dialog is open
//            the console is free, but the manager's list stays locked for reading: others send, changes wait.
// Errors:    what standard output does not take is dropped.
#pragma once

#include "kxbase/core/kxMemoryCheck.h"
#include "kxbase/message/kxAssertDialog.h"
#include "kxbase/message/kxMessageReceiverInterface.h"

#include <atomic>

class DefaultMessageReceiver : public kxMessageReceiverInterface, public kxMemoryCheck {
public:
    // The dialog could raise, receivers must not.
    ~DefaultMessageReceiver() noexcept override {}
    void receive(const kxString& sender, std::uint32_t level, const kxString& text) override;

    // A receiver that is switched off drops everything.
    void setEnabled(bool enabled) { enabled_.store(enabled, std::memory_order_relaxed); }
    // Who asks about assertions; null for kxAssertDialog, as at first.
    void setAssertDialog(kxAssertDialogInterface* dialog)
    {
        dialog_.store(dialog != nullptr ? dialog : &ownDialog_);
    }

private:
    void print(const kxString& sender, std::uint32_t level, const kxString& text);
    void askAboutAssertion(const kxString& text);

    std::atomic<bool> enabled_{true};
    kxAssertDialog ownDialog_;
    std::atomic<kxAssertDialogInterface*> dialog_{&ownDialog_};
};
