// Moves text through an adapter under test.
#pragma once

#include "kxbase/core/kxClock.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

#include <limits>
#include <string>
#include <string_view>

inline void kxTestWrite(kxSerializeAdapter& adapter, std::string_view bytes)
{
    adapter.write(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

// What a relay would read, until so many bytes have come or the end, which takes up to 20 seconds.
inline std::string kxTestRead(kxSerializeAdapter& adapter,
                              std::size_t expected = std::numeric_limits<std::size_t>::max())
{
    std::string bytes;
    const double end = kxClock::seconds() + 20;
    while (bytes.size() < expected && !adapter.hasError() && kxClock::seconds() < end) {
        std::string some(adapter.length(), '\0');
        some.resize(adapter.read(some.data(), static_cast<std::uint32_t>(some.size())));
        bytes += some;
    }
    return bytes;
}
