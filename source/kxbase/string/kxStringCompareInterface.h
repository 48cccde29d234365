// Dictionary keys that are strings: the hash that the string keeps, and all bytes when hashes are equal. Many
// texts share a hash ("item0000" to "item9999" have 1,280), so equal hashes say little.
#pragma once

#include "kxbase/string/kxSameBytes.h"
#include "kxbase/string/kxString.h"

struct kxStringCompareInterface {
    static std::uint32_t hash(const kxString& key) noexcept { return key.hash(); }
    static std::uint16_t fingerprint(const kxString& key) noexcept
    {
        return kxTailFingerprint(key.text(), key.length());
    }
    static bool isEqual(const kxString& left, const kxString& right) noexcept
    {
        return left.length() == right.length() && kxSameBytes(left.text(), right.text(), left.length());
    }
};
