// Writes bytes as Base64 to a parent and reads such text back (RFC 4648, standard alphabet).
//
// Text is written without padding and without line breaks: three bytes make four characters, and what is left
// of a group is written by flush(), by reading, or by the destructor. Text that was flushed in the middle of a
// group cannot be taken apart again when more text follows it, because nothing shows where the short group
// ended: flush only after multiples of three bytes, or at the end.
//
// Text is read with padding or without it. White space and characters outside the alphabet are passed over. A
// group of fewer than two characters gives no byte.
//
// One adapter may write and read: reading text writes what is left of the group first, and writing throws
// decoded bytes away that have not been read. A read that finds no text leaves the group as it is.
//
// Ownership, threads and units are those of kxSerializeAdapterTextEncoder, and errors too. The destructor
// passes on what the parent throws; while another exception passes it sends a Fatal message instead.
#pragma once

#include "kxbase/serialize/kxBase64Group.h"
#include "kxbase/serialize/kxSerializeAdapterTextEncoder.h"

class kxSerializeAdapterBase64Encoder : public kxSerializeAdapterTextEncoder {
public:
    explicit kxSerializeAdapterBase64Encoder(const kxRefPointer<kxSerializeAdapter>& parent);
    ~kxSerializeAdapterBase64Encoder() noexcept(false) override;
    const kxType& getType() const override;

    // Writing: ends the group. Reading: throws decoded bytes away. Neither flushes the parent nor touches
    // pushed-back bytes. Answers 0.
    std::uint32_t flush() override;
    void writeBlock(const void* bytes, std::uint32_t count) override;
    void writeByte(std::uint8_t byte) override;
    // Ends where the text gives no more byte, and early in the middle of very much text that gives none: 1 MB
    // beyond 16 characters for each byte. Takes no more text than the bytes need.
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override;
    // Gives 0 when the text gives no more byte.
    std::uint8_t readByte() override;
    // Bytes that the parent's text holds when there is nothing but the alphabet in it, and those decoded.
    std::uint32_t getDataLength() override;

private:
    bool holdsDecodedBytes() const override { return group_.length() != 0; }

    void startWriting();
    void endGroup();
    void startReading();
    std::uint32_t leastTextBytes() const;
    bool readGroup();
    std::uint32_t takeDecoded(std::uint8_t* bytes, std::uint32_t count);
    bool endText();
    std::uint32_t readPiece(std::uint8_t* text, std::uint32_t count);
    std::uint32_t decode(const std::uint8_t* text, std::size_t size, std::uint8_t* bytes,
                         std::uint32_t count);
    std::uint32_t decodeWide(const std::uint8_t* text, std::uint32_t size, std::uint8_t* bytes,
                             std::uint32_t count);

    bool isReading_ = false;
    std::uint8_t pending_[3] = {};  // written, but not a whole group yet
    std::uint32_t pendingCount_ = 0;
    kxBase64Group group_;  // the group being read
};
