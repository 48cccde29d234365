// Writes messages to standard output: a carriage return, the sender with the level's prefix, the text and a
// line feed. The carriage return overwrites a progress line.
//
// Sender and prefix are cut at 1023 bytes, the text is not.
//
// Threads: called by several threads at once; messages are not mixed with each other.
// Errors:  what standard output does not take is dropped.
#pragma once

#include "kxbase/core/kxMutex.h"
#include "kxbase/message/kxMessageReceiverInterface.h"

class DefaultMessageReceiver : public kxMessageReceiverInterface {
public:
    // The mutex could raise, receivers must not.
    ~DefaultMessageReceiver() noexcept override {}
    void receive(const kxString& sender, std::uint32_t level, const kxString& text) override;

    // A receiver that is switched off drops everything.
    void setEnabled(bool enabled) { enabled_.store(enabled, std::memory_order_relaxed); }

private:
    std::atomic<bool> enabled_{true};
    kxMutex console_;
};
