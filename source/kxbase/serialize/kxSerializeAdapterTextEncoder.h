// Base of the endpoints that write bytes as printable text to a parent and read them back from it.
//
// On a parent that carries 16-bit characters, every character written is followed by a zero byte.
//
// Ownership: holds a reference to the parent, which must not be null. Takes over the parent's name, flags and
//            where it came from.
// Threads:   as the parent; one thread at a time.
// Errors:    an encoder that has no error text of its own shows the error state of its parent, but only when
//            no decoded byte is left, and also when nothing but a tail of text too short for a byte remains.
//            Asking for the error then moves the tail from the parent into the encoder, which reads it first
//            when more text comes.
// Units:     lengths of text are in bytes of the parent.
#pragma once

#include "kxbase/serialize/kxSerializeAdapter.h"

class kxSerializeAdapterTextEncoder : public kxSerializeAdapter {
public:
    bool isActive() override;
    bool hasEnd() const override { return parent_->hasEnd(); }
    bool hasError() override;
    kxString getError() override;

protected:
    // Text is moved in pieces of up to so many bytes; a whole number of groups in either encoding.
    static constexpr std::uint32_t kTextBytes = 12288;
    static constexpr std::uint32_t kMostHeldCharacters = 3;
    // White space is every character up to this one.
    static constexpr std::uint8_t kLastSpace = 32;

    explicit kxSerializeAdapterTextEncoder(const kxRefPointer<kxSerializeAdapter>& parent);

    kxSerializeAdapter& parent() const { return *parent_; }
    bool isWide() const { return (parent_->getFlags() & KX_SERIALIZE_WIDE) != 0; }
    // Bytes of text that can be read now; 0 when they are fewer than `least`, which a byte needs.
    std::uint32_t textLength(std::uint32_t least);
    std::uint32_t readText(std::uint8_t* text, std::uint32_t count);
    bool hasText() { return tailBytes_ != 0 || parent_->hasData(); }
    // Answers false when the parent has no data.
    bool readTextByte(std::uint8_t& byte) { return hasText() && readText(&byte, 1) == 1; }
    // Gives back up to kMostHeldCharacters of 8 bits, the last that were read. All text before was read.
    void unreadText(const std::uint8_t* characters, std::uint32_t count);
    // Whether a block should end with `taken` bytes because nearly all of its text gave none; text of white
    // space alone may never end.
    static bool isTooMuchFor(std::uint32_t taken, std::uint64_t characters)
    {
        return characters > kMostIdleCharacters + std::uint64_t{kMostCharactersPerByte} * taken;
    }
    // Answers where the white space ends.
    static const std::uint8_t* skipWhiteSpace(const std::uint8_t* text, const std::uint8_t* end)
    {
        while (text != end && *text <= kLastSpace) ++text;
        return text;
    }
    // At most kTextBytes characters of 8 bits, which the call makes 16 bits wide if need be.
    void writeText(const std::uint8_t* text, std::uint32_t count);

private:
    virtual bool holdsDecodedBytes() const { return false; }
    bool hasErrorBehindTail();

    static constexpr std::uint32_t kMostIdleCharacters = 1024 * 1024;
    static constexpr std::uint32_t kMostCharactersPerByte = 16;

    kxRefPointer<kxSerializeAdapter> parent_;
    std::uint8_t tail_[2 * kMostHeldCharacters] = {};  // text taken from the parent that gave no byte yet
    std::uint32_t tailBytes_ = 0;
    std::uint32_t mostTailBytes_ = 0;  // not 0 when the last look found text, but not enough for a byte
};
