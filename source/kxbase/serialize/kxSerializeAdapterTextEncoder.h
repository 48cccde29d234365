// Base of the endpoints that write bytes as printable text to a parent and read them back from it.
//
// On a parent that carries 16-bit characters, every character written is followed by a zero byte.
//
// Ownership: holds a reference to the parent, which must not be null. Takes over the parent's name, flags and
//            where it came from.
// Threads:   as the parent; one thread at a time.
// Errors:    an encoder that has no error text of its own shows the error state of its parent, but only when
//            no decoded byte is left, and also when nothing but a tail of text too short for a byte remains.
// Units:     lengths of text are in bytes of the parent.
#pragma once

#include "kxbase/serialize/kxSerializeAdapter.h"

class kxSerializeAdapterTextEncoder : public kxSerializeAdapter {
public:
    bool isActive() override;
    bool hasError() override;
    kxString getError() override;

protected:
    // Text is moved in pieces of up to so many bytes; a whole number of groups in either encoding.
    static constexpr std::uint32_t kTextBytes = 12288;

    explicit kxSerializeAdapterTextEncoder(const kxRefPointer<kxSerializeAdapter>& parent);

    bool isWide() const { return (parent_->getFlags() & KX_SERIALIZE_WIDE) != 0; }
    // Bytes of text that can be read now; 0 when they are fewer than `least`, which a byte needs.
    std::uint32_t textLength(std::uint32_t least);
    std::uint32_t readText(std::uint8_t* text, std::uint32_t count) { return parent_->read(text, count); }
    // Answers false when the parent has no data.
    bool readTextByte(std::uint8_t& byte) { return parent_->hasData() && parent_->read(&byte, 1) == 1; }
    // At most kTextBytes characters of 8 bits, which the call makes 16 bits wide if need be.
    void writeText(const std::uint8_t* text, std::uint32_t count);

private:
    virtual bool holdsDecodedBytes() const { return false; }
    bool hasErrorBehindTail();

    static constexpr std::uint32_t kMostTailBytes = 3;

    kxRefPointer<kxSerializeAdapter> parent_;
    bool tailWasSeen_ = false;  // text was left at the last look, but not enough for a byte
};
