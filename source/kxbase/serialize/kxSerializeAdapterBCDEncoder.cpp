#include "kxbase/serialize/kxSerializeAdapterBCDEncoder.h"

#include "kxbase/object/kxTypeTable.h"
#include "kxbase/serialize/kxHexCodec.h"
#include "kxbase/serialize/kxWideText.h"

#include <algorithm>
#include <utility>

kxSerializeAdapterBCDEncoder::kxSerializeAdapterBCDEncoder(const kxRefPointer<kxSerializeAdapter>& parent)
    : kxSerializeAdapterTextEncoder(parent)
{}

const kxType& kxSerializeAdapterBCDEncoder::getType() const
{
    return kxTypeTable::find("kxSerializeAdapterBCDEncoder");
}

// ---- writing

void kxSerializeAdapterBCDEncoder::writeByte(std::uint8_t byte)
{
    std::uint8_t text[2];
    kxHexCodec::encode(&byte, 1, text);
    writeText(text, 2);
}

void kxSerializeAdapterBCDEncoder::writeBlock(const void* bytes, std::uint32_t count)
{
    const auto* next = static_cast<const std::uint8_t*>(bytes);
    std::uint8_t text[kTextBytes];
    while (count != 0) {
        const std::uint32_t piece = std::min(count, kTextBytes / 2);
        kxHexCodec::encode(next, piece, text);
        writeText(text, 2 * piece);
        next += piece;
        count -= piece;
    }
}

// ---- reading

// Takes the next character; answers whether it completed the byte.
bool kxSerializeAdapterBCDEncoder::Begun::take(std::uint8_t character, std::uint8_t& byte)
{
    hasText = true;
    if (character <= kLastSpace) return false;
    const std::uint8_t value = kxHexCodec::value(character);
    if (!std::exchange(hasFirst, true)) {
        first = value;
        return false;
    }
    byte = static_cast<std::uint8_t>(first << 4 | value);
    *this = {};
    return true;
}

bool kxSerializeAdapterBCDEncoder::readCharacter(std::uint8_t& character)
{
    std::uint8_t ignored = 0;
    if (!readTextByte(character)) return false;
    if (isWide()) readTextByte(ignored);
    return true;
}

// Reads up to `textBytes` bytes, whole characters only; answers the number of characters.
std::uint32_t kxSerializeAdapterBCDEncoder::readCharacters(std::uint8_t* text, std::uint32_t textBytes)
{
    std::uint32_t got = readText(text, textBytes);
    if (!isWide()) return got;
    if (got % 2 != 0) {
        text[got] = 0;
        readTextByte(text[got++]);
    }
    kxWideText::narrow(text, got / 2, text);
    return got / 2;
}

std::uint8_t kxSerializeAdapterBCDEncoder::readByte()
{
    Begun begun;
    std::uint8_t character = 0;
    std::uint8_t byte = 0;
    while (readCharacter(character)) {
        if (begun.take(character, byte)) return byte;
    }
    return static_cast<std::uint8_t>(begun.first << 4);
}

// Answers the number of bytes; what stands behind the last of them is in `begun`.
std::uint32_t kxSerializeAdapterBCDEncoder::decode(const std::uint8_t* text, std::uint32_t count,
                                                   std::uint8_t* bytes, Begun& begun)
{
    const std::uint8_t* const end = text + count;
    std::uint8_t* next = bytes;
    while (text != end) {
        if (!begun.hasFirst) {
            const std::size_t pairs =
                kxHexCodec::decode(text, static_cast<std::size_t>(end - text) / 2, next);
            text += 2 * pairs;
            next += pairs;
            if (pairs != 0) begun = {};
            if (text == end) break;
        }
        if (begun.take(*text++, *next))
            ++next;
        else
            text = skipWhiteSpace(text, end);
    }
    return static_cast<std::uint32_t>(next - bytes);
}

// Reads text for up to `count` more bytes; answers the number of characters, 0 at the end.
std::uint32_t kxSerializeAdapterBCDEncoder::readPiece(std::uint8_t* text, std::uint32_t count,
                                                      const Begun& begun)
{
    const std::uint32_t unit = characterBytes();
    const std::uint32_t ready = textLength(2 * unit);
    // A byte that has begun takes what is left, however little.
    if (ready == 0) return begun.hasText && readCharacter(*text) ? 1 : 0;
    // Reading stops where a byte could end with less text behind it than the next one needs.
    const std::uint64_t needed = (std::uint64_t{count} * 2 - (begun.hasFirst ? 1 : 0)) * unit;
    const auto wanted =
        static_cast<std::uint32_t>(std::min<std::uint64_t>({needed, ready - unit, kTextBytes}));
    return readCharacters(text, wanted / unit * unit);
}

std::uint32_t kxSerializeAdapterBCDEncoder::readBlock(void* bytes, std::uint32_t count)
{
    auto* const begin = static_cast<std::uint8_t*>(bytes);
    std::uint32_t taken = 0;
    std::uint64_t charactersRead = 0;
    std::uint8_t text[kTextBytes];
    Begun begun;
    while (taken < count) {
        const std::uint32_t characters = readPiece(text, count - taken, begun);
        if (characters == 0) {
            if (begun.hasFirst) begin[taken++] = static_cast<std::uint8_t>(begun.first << 4);
            break;
        }
        taken += decode(text, characters, begin + taken, begun);
        charactersRead += characters;
        if (!isTooMuchFor(taken, charactersRead)) continue;
        if (begun.hasFirst) {
            kxHexCodec::encode(&begun.first, 1, text);
            unreadText(text + 1, 1);
        }
        break;
    }
    return taken;
}

std::uint32_t kxSerializeAdapterBCDEncoder::getDataLength()
{
    const std::uint32_t byteOfText = 2 * characterBytes();
    return textLength(byteOfText) / byteOfText;
}
