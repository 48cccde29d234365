#include "kxbase/serialize/kxCorruptStream.h"

#include "kxbase/serialize/kxVarUInt64.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::uint32_t kStepBytes = 1024 * 1024;

}  // namespace

bool kxReadAnnounced(kxSerializeAdapter& adapter, std::uint64_t& number)
{
    std::uint8_t bytes[kxVarUInt64::KX_MAX_BYTES];
    for (std::uint32_t count = 0; count < kxVarUInt64::KX_MAX_BYTES && adapter.ensureData(1);) {
        bytes[count++] = adapter.readChar();
        if (kxVarUInt64::decode(bytes, count, number) != 0) return true;
    }
    return false;
}

bool kxReadAnnouncedSize(kxSerializeAdapter& adapter, std::uint32_t& size)
{
    std::uint64_t number = 0;
    if (!kxReadAnnounced(adapter, number)) return false;
    size = static_cast<std::uint32_t>(number);
    return number <= std::numeric_limits<std::uint32_t>::max();
}

bool kxReadAnnouncedBytes(kxSerializeAdapter& adapter, std::uint32_t count, kxArray<std::uint8_t>& bytes)
{
    bytes.clear();
    while (bytes.size() < count) {
        const std::uint32_t before = bytes.size();
        const std::uint32_t wanted = std::min(count - before, kStepBytes);
        bytes.resize(before + wanted);
        if (adapter.read(bytes.data() + before, wanted) != wanted) return false;
    }
    return true;
}
