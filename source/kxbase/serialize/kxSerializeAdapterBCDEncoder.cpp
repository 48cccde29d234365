#include "kxbase/serialize/kxSerializeAdapterBCDEncoder.h"

#include "kxbase/object/kxTypeTable.h"
#include "kxbase/serialize/kxHexCodec.h"
#include "kxbase/serialize/kxWideText.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::uint8_t kLastSpace = 32;

}  // namespace

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

// Reads on, character by character, until a byte is complete. Answers false when only white space was left.
bool kxSerializeAdapterBCDEncoder::finish(Begun& begun, std::uint8_t& byte)
{
    std::uint8_t character = 0;
    while (readCharacter(character)) {
        if (begun.take(character, byte)) return true;
    }
    byte = static_cast<std::uint8_t>(begun.first << 4);
    return begun.hasFirst;
}

std::uint8_t kxSerializeAdapterBCDEncoder::readByte()
{
    Begun begun;
    std::uint8_t byte = 0;
    finish(begun, byte);
    return byte;
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
        if (begun.take(*text++, *next)) ++next;
    }
    return static_cast<std::uint32_t>(next - bytes);
}

std::uint32_t kxSerializeAdapterBCDEncoder::readBlock(void* bytes, std::uint32_t count)
{
    auto* const begin = static_cast<std::uint8_t*>(bytes);
    std::uint32_t taken = 0;
    std::uint8_t text[kTextBytes];
    while (taken < count) {
        const std::uint32_t unit = characterBytes();
        const std::uint32_t ready = textLength(2 * unit);
        if (ready == 0) break;
        // Reading stops where a byte could end with less text behind it than the next one needs.
        const std::uint64_t needed = std::uint64_t{count - taken} * 2 * unit;
        const auto wanted =
            static_cast<std::uint32_t>(std::min<std::uint64_t>({needed, ready - unit, kTextBytes}));
        const std::uint32_t characters = readCharacters(text, wanted / unit * unit);
        if (characters == 0) break;
        Begun begun;
        taken += decode(text, characters, begin + taken, begun);
        if (!begun.hasText) continue;
        if (!finish(begun, begin[taken])) break;
        ++taken;
    }
    return taken;
}

std::uint32_t kxSerializeAdapterBCDEncoder::getDataLength()
{
    const std::uint32_t byteOfText = 2 * characterBytes();
    return textLength(byteOfText) / byteOfText;
}
