// The one Warning for bytes that are not what they should be.
#pragma once

#include "kxbase/core/kxMessage.h"

inline void kxWarnCorruptStream(std::string_view reader)
{
    kxMessage(KX_MESSAGE_WARNING, "Corrupt Stream in %s!!", reader);
}
