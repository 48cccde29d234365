// The characters of one match: read from an adapter, kept, and given back when they are not used.
//
// A character is one byte, or in wide mode two bytes, low byte first. What has been read since begin() is the
// history; giving back goes that far and no further. Bytes are taken from the adapter in blocks, 256 at first and
// then more, but never so many that it would have to wait for them; finish() puts the unused ones back, so that the
// adapter stands exactly behind the match.
//
// Ownership: holds a reference to the adapter.
// Threads:   takes no lock; one thread at a time.
// Errors:    giving back more than the history holds is fatal. A history that has grown to its limit delivers
//            nothing more, and isFull() says so when there would have been more. A last odd byte in wide mode is no
//            character and stays on the adapter.
// Units:     positions and counts are in characters.
#pragma once

#include "kxbase/lex/kxTextPlace.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

#include <string>

// What next() and peek() answer at the end of the data.
constexpr std::int32_t KX_LEX_END = -1;
constexpr std::uint32_t KX_LEX_HISTORY_LIMIT = 64 * 1024 * 1024;

class kxLexInput {
public:
    // The next character, which is thereby read.
    std::int32_t next()
    {
        const std::int32_t unit = peek();
        position_ += unit != KX_LEX_END;
        return unit;
    }
    std::int32_t peek()
    {
        if (position_ != units_.size()) return units_[position_];
        return more() ? units_[position_] : endOfData();
    }
    // Moves back over characters that were read.
    void giveBack(std::uint32_t count);
    // Characters read since the match began.
    std::uint32_t position() const { return position_; }
    // Of the next character.
    kxTextPlace place() { return placeOf(position_); }

    bool isWide() const { return isWide_; }
    bool isFull() const { return isFull_; }
    void setHistoryLimit(std::uint32_t characters) { limit_ = characters; }

    // ---- for the lexer and its machine

    // Reads from here on, and counts lines from 1.
    void setAdapter(const kxRefPointer<kxSerializeAdapter>& adapter, bool isWide);
    // Starts a history at the adapter's position.
    void begin();
    // Ends it: what lies behind `position` goes back to the adapter.
    void finish(std::uint32_t position);
    // Reads more; false when there is none.
    bool more();
    const std::u16string& units() const { return units_; }
    void setPosition(std::uint32_t position)
    {
        position_ = position;
        hasTouchedEnd_ = false;
    }
    // Whether the end of the data was met since the position was set.
    bool hasTouchedEnd() const { return hasTouchedEnd_; }
    kxTextPlace placeOf(std::uint32_t position);
    // A part of the history, none when it ends before it begins: the bytes as they came, or in wide mode UTF-8. False
    // when wide text holds a surrogate without its partner.
    bool copyText(std::uint32_t from, std::uint32_t to, std::string& text) const;

private:
    std::int32_t endOfData()
    {
        hasTouchedEnd_ = true;
        return KX_LEX_END;
    }
    bool hasAnother();
    std::uint32_t unitBytes() const { return isWide_ ? 2 : 1; }
    std::uint32_t readBytes(std::uint64_t most);
    void appendBytes(const unsigned char* bytes, std::uint32_t count);
    void appendPairs(const unsigned char* bytes, std::uint32_t count);
    void giveBytesBack(std::uint32_t position);
    void giveBlockBack(std::u16string_view units);

    kxRefPointer<kxSerializeAdapter> adapter_;
    bool isWide_ = false;
    bool hasEnded_ = false;
    bool hasTouchedEnd_ = false;
    bool isFull_ = false;
    bool hasOddByte_ = false;
    std::uint8_t oddByte_ = 0;  // the first half of a wide character
    std::u16string units_;      // the history and what was read ahead
    std::string bytes_;         // room for one block
    std::uint32_t position_ = 0;
    std::uint32_t blockBytes_ = 0;
    std::uint32_t limit_ = KX_LEX_HISTORY_LIMIT;
    kxTextPlace startPlace_;  // of the first unit
    kxTextPlace lastPlace_;   // of the unit at lastPosition_, asked for last
    std::uint32_t lastPosition_ = 0;
};
