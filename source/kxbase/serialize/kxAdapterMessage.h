// What adapters say: the messages about what fails when they are opened and read, and how a thread silences them.
//
// The rule: everything that an adapter, or what it rests on, can send while it is opened or read goes through
// kxAdapterMessage; what is lost in writing is always told. Of the two silences, the flag KX_SERIALIZE_SILENT covers
// what the factory says about one URL, a kxAdapterSilence what adapters say.
//
// Threads: a silence concerns the calling thread alone; silences nest.
#pragma once

#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxThreadScope.h"

// While such an object lives, adapters send no such messages on the calling thread. Their error texts tell it all the
// same.
class kxAdapterSilence final : public kxThreadScope<kxAdapterSilence> {
public:
    kxAdapterSilence() noexcept = default;
};

// A message of an adapter, or of what it rests on, about a failure while it is opened or read.
template <typename... Arguments>
void kxAdapterMessage(std::uint32_t level, std::string_view format, const Arguments&... arguments)
{
    if (!kxAdapterSilence::isInside()) kxMessage(level, format, arguments...);
}
