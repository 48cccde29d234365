// Messages about faults in a format text.
//
// Such a message is itself formatted, by a translation that may be faulty as well. Faults found meanwhile on the
// same thread send nothing, so that they cannot multiply without end. What the receivers of the message format
// is their own and reported, down to a few messages inside one another.
//
// Threads: any; each thread has its own guard.
#pragma once

#include "kxbase/core/kxArgumentView.h"

#include <string_view>

void kxSendFormatFault(std::uint32_t level, std::string_view text, kxArgumentView arguments = {});

// Lives while receivers have a message whose text is finished.
class kxFormatFaultReceiving {
public:
    kxFormatFaultReceiving() noexcept;
    ~kxFormatFaultReceiving();
    kxFormatFaultReceiving(const kxFormatFaultReceiving&) = delete;
    kxFormatFaultReceiving& operator=(const kxFormatFaultReceiving&) = delete;

private:
    const bool wasSilent_;
};
