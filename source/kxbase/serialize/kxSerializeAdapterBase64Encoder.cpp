#include "kxbase/serialize/kxSerializeAdapterBase64Encoder.h"

#include "kxbase/object/kxDestructorRelease.h"
#include "kxbase/object/kxTypeTable.h"
#include "kxbase/serialize/kxWideText.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace {

constexpr std::uint32_t kGroupBytes = 3;
constexpr std::uint32_t kGroupCharacters = 4;

}  // namespace

kxSerializeAdapterBase64Encoder::kxSerializeAdapterBase64Encoder(
    const kxRefPointer<kxSerializeAdapter>& parent)
    : kxSerializeAdapterTextEncoder(parent)
{}

kxSerializeAdapterBase64Encoder::~kxSerializeAdapterBase64Encoder() noexcept(false)
{
    try {
        endGroup();
    } catch (...) {
        kxDestructorRelease::raiseOrReport();
    }
}

const kxType& kxSerializeAdapterBase64Encoder::getType() const
{
    return kxTypeTable::find("kxSerializeAdapterBase64Encoder");
}

std::uint32_t kxSerializeAdapterBase64Encoder::flush()
{
    group_ = {};
    endGroup();
    return 0;
}

// ---- writing

void kxSerializeAdapterBase64Encoder::startWriting()
{
    if (std::exchange(isReading_, false)) group_ = {};
}

void kxSerializeAdapterBase64Encoder::endGroup()
{
    if (pendingCount_ == 0) return;
    std::uint8_t text[kGroupCharacters];
    const std::size_t characters =
        kxBase64Codec::encodeRest(pending_, std::exchange(pendingCount_, 0U), text);
    writeText(text, static_cast<std::uint32_t>(characters));
}

void kxSerializeAdapterBase64Encoder::writeByte(std::uint8_t byte)
{
    startWriting();
    pending_[pendingCount_++] = byte;
    if (pendingCount_ < kGroupBytes) return;
    std::uint8_t text[kGroupCharacters];
    kxBase64Codec::encode(pending_, 1, text);
    pendingCount_ = 0;
    writeText(text, kGroupCharacters);
}

void kxSerializeAdapterBase64Encoder::writeBlock(const void* bytes, std::uint32_t count)
{
    const auto* next = static_cast<const std::uint8_t*>(bytes);
    for (; count != 0 && pendingCount_ != 0; --count) writeByte(*next++);
    if (count == 0) return;

    startWriting();
    std::uint8_t text[kTextBytes];
    while (count >= kGroupBytes) {
        const std::uint32_t groups = std::min(count / kGroupBytes, kTextBytes / kGroupCharacters);
        kxBase64Codec::encode(next, groups, text);
        writeText(text, groups * kGroupCharacters);
        next += groups * kGroupBytes;
        count -= groups * kGroupBytes;
    }
    std::memcpy(pending_, next, count);
    pendingCount_ = count;
}

// ---- reading

void kxSerializeAdapterBase64Encoder::startReading()
{
    endGroup();
    isReading_ = true;
}

// Text that holds a byte when its length is taken for a whole number of groups.
std::uint32_t kxSerializeAdapterBase64Encoder::leastTextBytes() const
{
    return isWide() ? 3 : 2;
}

// Reads on, character by character, until a group gives bytes. Answers false when none does.
bool kxSerializeAdapterBase64Encoder::readGroup()
{
    std::uint8_t character = 0;
    while (readTextByte(character)) {
        if (group_.take(character) && group_.length() != 0) return true;
    }
    return endText();
}

// Answers whether the group gives bytes when no text is left.
bool kxSerializeAdapterBase64Encoder::endText()
{
    group_.end();
    if (group_.length() != 0) return true;
    group_ = {};
    return false;
}

std::uint8_t kxSerializeAdapterBase64Encoder::readByte()
{
    if (group_.length() == 0) {
        if (!hasText()) return 0;
        startReading();
        if (!readGroup()) return 0;
    }
    return group_.takeByte();
}

std::uint32_t kxSerializeAdapterBase64Encoder::takeDecoded(std::uint8_t* bytes, std::uint32_t count)
{
    const std::uint32_t taken = std::min(count, group_.length());
    for (std::uint32_t index = 0; index < taken; ++index) bytes[index] = group_.takeByte();
    return taken;
}

// Answers the number of bytes; what stands behind the last of them is in the group.
std::uint32_t kxSerializeAdapterBase64Encoder::decode(const std::uint8_t* text, std::size_t size,
                                                      std::uint8_t* bytes, std::uint32_t count)
{
    const std::uint8_t* const end = text + size;
    std::uint32_t taken = 0;
    while (text != end) {
        if (group_.isAtFirstPlace()) {
            const std::size_t most = std::min(static_cast<std::size_t>(end - text) / kGroupCharacters,
                                              std::size_t{(count - taken) / kGroupBytes});
            const std::size_t groups = kxBase64Codec::decode(text, most, bytes + taken);
            text += groups * kGroupCharacters;
            taken += static_cast<std::uint32_t>(groups * kGroupBytes);
            if (groups != 0) group_ = {};
            if (text == end) break;
        }
        if (group_.take(*text++))
            taken += takeDecoded(bytes + taken, count - taken);
        else
            text = skipWhiteSpace(text, end);
    }
    return taken;
}

// Reads text for up to `count` more bytes; answers how much, 0 at the end.
std::uint32_t kxSerializeAdapterBase64Encoder::readPiece(std::uint8_t* text, std::uint32_t count)
{
    const std::uint32_t ready = textLength(leastTextBytes());
    // A group that has begun takes what is left, however little.
    if (ready == 0) return group_.isBegun() && readTextByte(*text) ? 1 : 0;
    startReading();
    // Reading stops where a group could end with less text behind it than the next one needs.
    const std::uint64_t groups = (std::uint64_t{count} + kGroupBytes - 1) / kGroupBytes;
    return readText(text, static_cast<std::uint32_t>(std::min<std::uint64_t>(
                              {groups * kGroupCharacters - group_.places(), ready - leastTextBytes() + 1,
                               std::uint64_t{kTextBytes}})));
}

// As decode(). The zero bytes are foreign characters like any other, but half of the text.
std::uint32_t kxSerializeAdapterBase64Encoder::decodeWide(const std::uint8_t* text, std::uint32_t size,
                                                          std::uint8_t* bytes, std::uint32_t count)
{
    const std::uint32_t before = text[0] == 0 ? 1 : 0;
    if (before != 0) group_.take(0);
    // What stands at the end tells whether the last group was left behind.
    const std::uint32_t characters = (size - before) / 2 > 0 ? (size - before) / 2 - 1 : 0;
    std::uint8_t narrow[kTextBytes / 2];
    if (!kxWideText::narrow(text + before, characters, narrow)) {
        return decode(text + before, size - before, bytes, count);
    }
    const std::uint32_t done = before + 2 * characters;
    const std::uint32_t taken = decode(narrow, characters, bytes, count);
    return taken + decode(text + done, size - done, bytes + taken, count - taken);
}

std::uint32_t kxSerializeAdapterBase64Encoder::readBlock(void* bytes, std::uint32_t count)
{
    auto* const begin = static_cast<std::uint8_t*>(bytes);
    std::uint32_t taken = takeDecoded(begin, count);
    std::uint64_t charactersRead = 0;
    std::uint8_t text[kTextBytes];
    while (taken < count) {
        std::uint8_t* const next = begin + taken;
        const std::uint32_t left = count - taken;
        const std::uint32_t size = readPiece(text, left);
        if (size == 0) {
            if (endText()) taken += takeDecoded(next, left);
            break;
        }
        taken += isWide() ? decodeWide(text, size, next, left) : decode(text, size, next, left);
        charactersRead += size;
        if (!isTooMuchFor(taken, charactersRead)) continue;
        unreadText(group_.text(), group_.places());
        if (group_.length() == 0) group_ = {};
        break;
    }
    return taken;
}

std::uint32_t kxSerializeAdapterBase64Encoder::getDataLength()
{
    const std::uint64_t text = textLength(leastTextBytes());
    const std::uint64_t bytes = text * kGroupBytes / (isWide() ? 8 : 4) + group_.length();
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(bytes, std::numeric_limits<std::uint32_t>::max()));
}
