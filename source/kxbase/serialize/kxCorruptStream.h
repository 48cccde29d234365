// Reading what a stream from outside announces, without trusting it: the counts and sizes that say how much is to
// come, and the bytes of which they speak.
//
// Threads: plain functions without state.
// Errors:  the reading functions answer false when the stream ends too early or announces what cannot be; the
//          Warning about it is the caller's to send.
#pragma once

#include "kxbase/containers/kxArray.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

#include <string_view>

// The Warning "Corrupt Stream in %s!!" with the name of the class that reads.
inline void kxWarnCorruptStream(std::string_view reader)
{
    kxMessage(KX_MESSAGE_WARNING, "Corrupt Stream in %s!!", reader);
}

// A number in the at most nine bytes that kxVarUInt64 writes. kxVarUInt64::read would go on for as long as a stream
// says that another byte follows; an announcement that does is no count.
bool kxReadAnnounced(kxSerializeAdapter& adapter, std::uint64_t& number);
// The same for a size: above 4294967295 is none.
bool kxReadAnnouncedSize(kxSerializeAdapter& adapter, std::uint32_t& size);
// Exactly `count` bytes; memory follows those that come.
bool kxReadAnnouncedBytes(kxSerializeAdapter& adapter, std::uint32_t count, kxArray<std::uint8_t>& bytes);
