// While such an object lives, the library's adapters send no messages about what fails when they are opened and read
// on the calling thread. Their error texts tell it all the same.
//
// The rule: everything that an adapter, or what it rests on, can send while it is opened or read goes through
// kxAdapterMessage; what is lost in writing is always told. Of the three silences, the flag KX_SERIALIZE_SILENT
// covers what the factory says about one URL, a kxAdapterSilence what adapters say, and a kxMessageSilence whatever
// the thread sends.
//
// Threads: concerns the calling thread alone; silences nest.
#pragma once

#include "kxbase/core/kxMessage.h"

class kxAdapterSilence {
public:
    kxAdapterSilence() noexcept { ++depth_; }
    ~kxAdapterSilence() { --depth_; }
    kxAdapterSilence(const kxAdapterSilence&) = delete;
    kxAdapterSilence& operator=(const kxAdapterSilence&) = delete;

    static bool isInside() noexcept { return depth_ != 0; }

private:
    // Trivial, so that it is there until the thread's very end.
    static inline constinit thread_local std::uint32_t depth_ = 0;
};

// A message of an adapter, or of what it rests on, about such a failure.
template <typename... Arguments>
void kxAdapterMessage(std::uint32_t level, std::string_view format, const Arguments&... arguments)
{
    if (!kxAdapterSilence::isInside()) kxMessage(level, format, arguments...);
}
