// Takes finished messages.
//
// Ownership: a receiver belongs to whoever adds it; it must be removed before it is destroyed.
// Threads:   called on the thread that sends, by several threads at once.
// Errors:    a receiver may send messages itself; it must not throw.
#pragma once

#include "kxbase/string/kxString.h"

class kxMessageReceiverInterface {
public:
    virtual ~kxMessageReceiverInterface() = default;
    // `level` carries the flags; `text` has no prefix.
    virtual void receive(const kxString& sender, std::uint32_t level, const kxString& text) = 0;
};
