// Puts the bytes of a composed dynamic value together; the counterpart of kxDynamicReader.
//
// Ownership: owns what has been added until the value takes it over; the objects that were added stay alive.
// Threads:   one thread at a time.
// Errors:    a value of more than 4294967295 bytes reports "Bad Alloc:" and throws std::bad_alloc.
#pragma once

#include "kxbase/containers/kxArray.h"
#include "kxbase/dynamic/kxDynamicReferences.h"
#include "kxbase/dynamic/kxDynamicType.h"

class kxDynamicWriter {
public:
    void addCount(std::uint64_t number);
    // Up to its first zero byte.
    void addText(const kxString& text);
    template <std::unsigned_integral Bits> void addNumber(Bits bits)
    {
        bits = kxInByteOrder(bits, KX_BYTE_ORDER_LITTLE);
        addBytes(&bits, sizeof(bits));
    }
    // A value whose bytes are broken, or that has too many levels to be read inside another, is written as "void",
    // with the Warning "Corrupt Stream in kxDynamicType!!": it must neither make what stands beside it unreadable
    // nor get at the objects there.
    void addItem(const kxDynamicType& value);

    // The bytes so far as a value of the type.
    kxDynamicType finish(kxUniqueId type);

private:
    void addSoundItem(const kxDynamicType& value);
    void addBytes(const void* bytes, std::uint32_t count);

    kxArray<std::uint8_t> bytes_;
    kxDynamicReferences::Objects objects_;
};
