// Messages about faults in a format text.
//
// Such a message is itself formatted, by a translation that may be faulty as well. While one is sent, further
// faults on the same thread send nothing, so that they cannot multiply without end.
//
// Threads: any; each thread has its own guard.
#pragma once

#include "kxbase/core/kxArgumentView.h"

#include <string_view>

void kxSendFormatFault(std::uint32_t level, std::string_view text, kxArgumentView arguments = {});
