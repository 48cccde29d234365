// Moves text through an adapter under test.
#pragma once

#include "kxbase/core/kxClock.h"
#include "kxbase/serialize/kxSerializeAdapterQueue.h"

#include <limits>
#include <string>
#include <string_view>

inline void kxTestWrite(kxSerializeAdapter& adapter, std::string_view bytes)
{
    adapter.write(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

// An adapter that holds the bytes and takes more.
inline kxRefPointer<kxSerializeAdapterQueue> kxTestInput(std::string_view bytes = {})
{
    const auto adapter = kxMakeRef<kxSerializeAdapterQueue>(KX_QUEUE_FIFO, 1024U);
    kxTestWrite(*adapter, bytes);
    return adapter;
}

// What one block read of so many bytes delivers.
inline std::string kxTestTake(kxSerializeAdapter& adapter, std::uint32_t count)
{
    std::string bytes(count, '?');
    bytes.resize(adapter.read(bytes.data(), count));
    return bytes;
}

// What can be read now.
inline std::string kxTestTake(kxSerializeAdapter& adapter)
{
    return kxTestTake(adapter, adapter.length());
}

// What a relay would read, until so many bytes have come or the end, which takes up to 20 seconds.
inline std::string kxTestRead(kxSerializeAdapter& adapter,
                              std::size_t expected = std::numeric_limits<std::size_t>::max())
{
    std::string bytes;
    const double end = kxClock::seconds() + 20;
    while (bytes.size() < expected && !adapter.hasError() && kxClock::seconds() < end)
        bytes += kxTestTake(adapter);
    return bytes;
}
