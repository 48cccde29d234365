// Text on an adapter as UTF-16 in the chosen byte order, always with a terminator behind it.
//
// Written are the code points truncated to 16 bits, up to the first malformed sequence, which sends a Warning.
// Reading joins pairs of surrogates; a last byte without its partner is dropped.
//
// Ownership: owns its text.
// Threads:   a plain value.
// Errors:    none of its own; the adapter's hasError() tells. The count of units read is 16 bits wide: of n units,
//            only the last n mod 65536 remain. Text of more than 65535 bytes as UTF-8 is cut at the last whole
//            character.
// Units:     sizes are in bytes.
#pragma once

#include "kxbase/containers/kxArray.h"
#include "kxbase/core/kxSerializeData.h"
#include "kxbase/serialize/kxByteOrder.h"
#include "kxbase/string/kxString.h"

class kxSerializeStringWide final : public kxSerializeData {
public:
    explicit kxSerializeStringWide(const kxString& text = {}, kxByteOrder order = KX_BYTE_ORDER_LITTLE,
                                   char16_t terminator = 0);

    void write(kxSerializeAdapter& adapter) const override;
    void read(kxSerializeAdapter& adapter) override;
    void pushBack(kxSerializeAdapter& adapter) const override;
    std::uint32_t getDataSize() const override;

    const kxString& getText() const { return text_; }
    void setText(const kxString& text) { text_ = text; }

private:
    // Text and terminator as they are stored.
    kxArray<char16_t> stored() const;

    kxString text_;
    char16_t terminator_;
    kxByteOrder order_;
};
