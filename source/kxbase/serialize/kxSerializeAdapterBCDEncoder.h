// Writes each byte as two hexadecimal digits to a parent and reads such text back.
//
// Digits are written in upper case and without line breaks, and read in either case. White space, which is
// every character up to 32, is passed over; any other character counts as the digit 0, and so does a second
// digit that is missing at the end of the text.
//
// Ownership, threads, errors and units are those of kxSerializeAdapterTextEncoder. flush() only throws
// pushed-back bytes away; the parent is flushed by whoever wants that.
#pragma once

#include "kxbase/serialize/kxSerializeAdapterTextEncoder.h"

class kxSerializeAdapterBCDEncoder : public kxSerializeAdapterTextEncoder {
public:
    explicit kxSerializeAdapterBCDEncoder(const kxRefPointer<kxSerializeAdapter>& parent);
    const kxType& getType() const override;

    void writeBlock(const void* bytes, std::uint32_t count) override;
    void writeByte(std::uint8_t byte) override;
    // Ends also where only white space is left, and early in the middle of very much of it: 1 MB beyond 16
    // characters for each byte. Takes no more text than the bytes need.
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override;
    // Gives 0 when only white space is left.
    std::uint8_t readByte() override;
    // Bytes that the parent's text holds when there is no white space in it.
    std::uint32_t getDataLength() override;

private:
    // A byte of which some characters have been read.
    struct Begun {
        bool hasText = false;  // white space at least
        bool hasFirst = false;
        std::uint8_t first = 0;

        bool take(std::uint8_t character, std::uint8_t& byte);
    };

    std::uint32_t characterBytes() const { return isWide() ? 2 : 1; }
    bool readCharacter(std::uint8_t& character);
    std::uint32_t readCharacters(std::uint8_t* text, std::uint32_t textBytes);
    std::uint32_t readPiece(std::uint8_t* text, std::uint32_t count, const Begun& begun);
    static std::uint32_t decode(const std::uint8_t* text, std::uint32_t count, std::uint8_t* bytes,
                                Begun& begun);
};
