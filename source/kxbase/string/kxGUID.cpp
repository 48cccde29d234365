#include "kxbase/string/kxGUID.h"

#include "kxbase/core/kxMessage.h"
#include "kxbase/platform/kxPlatformRandom.h"

#include <bit>
#include <cstring>
#include <iterator>

namespace {

constexpr std::size_t kBareLength = KX_GUID_TEXT_LENGTH - 2;
constexpr std::size_t kDashes[] = {8, 13, 18, 23};
constexpr const char* kBadShape = "Malformed kxGUID {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}";

// Where each byte of the GUID stands in the text without braces.
constexpr std::uint8_t kPlaces[16] = {0, 2, 4, 6, 9, 11, 14, 16, 19, 21, 24, 26, 28, 30, 32, 34};

// The groups, each by the byte of the GUID that it ends before.
constexpr struct {
    std::size_t end;
    const char* fault;  // in pieces, so that no trigraph stands in it
} kGroups[] = {
    {4, "Malformed kxGUID {????????"
        "-XXXX-XXXX-XXXX-XXXXXXXXXXXX}"},
    {6, "Malformed kxGUID {XXXXXXXX-????"
        "-XXXX-XXXX-XXXXXXXXXXXX}"},
    {8, "Malformed kxGUID {XXXXXXXX-XXXX-????"
        "-XXXX-XXXXXXXXXXXX}"},
    {16, "Malformed kxGUID {XXXXXXXX-XXXX-XXXX-????"
         "-????????????}"},
};

// Whether two digits for each place, and the dashes, make up the text, each character once.
constexpr bool coverText()
{
    int uses[kBareLength] = {};
    for (const std::size_t place : kPlaces) {
        ++uses[place];
        ++uses[place + 1];
    }
    for (const std::size_t dash : kDashes) ++uses[dash];
    for (const int count : uses)
        if (count != 1) return false;
    return true;
}
static_assert(coverText(), "digits and dashes fit together");
static_assert(std::end(kGroups)[-1].end == std::size(kPlaces), "every byte is in a group");

// A value with a bit above the lowest four is no digit.
constexpr std::uint8_t kNoDigit = 0x80;

constexpr auto kDigitValues = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(kNoDigit);
    for (std::uint8_t digit = 0; digit < 10; ++digit) values['0' + digit] = digit;
    for (std::uint8_t digit = 10; digit < 16; ++digit) {
        values['A' + digit - 10] = values['a' + digit - 10] = digit;
    }
    return values;
}();

constexpr auto kDigitPairs = [] {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::array<char, 512> pairs{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        pairs[2 * byte] = kDigits[byte >> 4];
        pairs[2 * byte + 1] = kDigits[byte & 15];
    }
    return pairs;
}();

using Bytes = std::array<std::uint8_t, 16>;

// The digit at a place of the text without braces, or kNoDigit.
unsigned digitAt(const char* bare, std::size_t place)
{
    return kDigitValues[static_cast<unsigned char>(bare[place])];
}

// The bytes in the order of the text; answers whether all their digits were digits.
bool readDigits(const char* bare, Bytes& bytes)
{
    unsigned seen = 0;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        const unsigned high = digitAt(bare, kPlaces[index]);
        const unsigned low = digitAt(bare, kPlaces[index] + std::size_t{1});
        seen |= high | low;
        bytes[index] = static_cast<std::uint8_t>(high << 4 | low);
    }
    return (seen & kNoDigit) == 0;
}

// The fault of the first group with a character that is no digit.
const char* faultOf(const char* bare)
{
    std::size_t index = 0;
    while (((digitAt(bare, kPlaces[index]) | digitAt(bare, kPlaces[index] + std::size_t{1})) & kNoDigit) ==
           0) {
        ++index;
    }
    const auto* group = kGroups;
    while (index >= group->end) ++group;
    return group->fault;
}

bool hasDashes(std::string_view bare)
{
    bool found = true;
    for (const std::size_t dash : kDashes) found &= bare[dash] == '-';
    return found;
}

// The text without its braces; empty when its overall shape is wrong.
std::string_view withoutBraces(std::string_view text)
{
    if (text.starts_with('{') && text.ends_with('}')) {
        if (text.size() != KX_GUID_TEXT_LENGTH) return {};
        text = text.substr(1, kBareLength);
    } else if (text.starts_with('{') || text.ends_with('}')) {
        return {};
    }
    return text.size() == kBareLength && hasDashes(text) ? text : std::string_view();
}

// The text up to its terminating zero, or as much of it as tells that it is too long.
std::string_view measured(const char* text, std::size_t length)
{
    if (text == nullptr) return {};
    if (length != 0) return {text, length};
    constexpr std::size_t kTooLong = KX_GUID_TEXT_LENGTH + 1;
    const auto* const end = static_cast<const char*>(std::memchr(text, '\0', kTooLong));
    return {text, end != nullptr ? static_cast<std::size_t>(end - text) : kTooLong};
}

}  // namespace

kxGUID::kxGUID(const char* text, std::uint16_t length) : kxGUID(measured(text, length)) {}

kxGUID::kxGUID(std::string_view text)
{
    if (const char* const fault = read(text, *this)) kxMessage(KX_MESSAGE_WARNING, fault);
}

const char* kxGUID::read(std::string_view text, kxGUID& guid) noexcept
{
    const std::string_view bare = withoutBraces(text);
    if (bare.empty()) return kBadShape;
    Bytes bytes;
    if (!readDigits(bare.data(), bytes)) return faultOf(bare.data());
    guid.data1 = std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
                 std::uint32_t{bytes[2]} << 8 | bytes[3];
    guid.data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
    std::memcpy(guid.data4.data(), &bytes[8], 8);
    return nullptr;
}

bool kxGUID::hasShape(std::string_view text) noexcept
{
    return text.size() == KX_GUID_TEXT_LENGTH && !withoutBraces(text).empty();
}

kxGUID kxGUID::random()
{
    kxGUID guid;
    if (!kxPlatformRandom(&guid, sizeof guid)) kxRaiseFatal("No random numbers from the system");
    guid.data3 = static_cast<std::uint16_t>((guid.data3 & 0x0FFF) | 0x4000);
    guid.data4[0] = static_cast<std::uint8_t>((guid.data4[0] & 0x3F) | 0x80);
    return guid;
}

kxString kxGUID::toString() const
{
    char text[KX_GUID_TEXT_LENGTH + 1];
    toText(text);
    return kxString(text, KX_GUID_TEXT_LENGTH);
}

void kxGUID::toText(char* text) const noexcept
{
    const std::uint32_t front[] = {data1, std::uint32_t{data2} << 16 | data3};
    char* const bare = text + 1;
    for (std::size_t index = 0; index < 16; ++index) {
        const std::size_t byte =
            index < 8 ? front[index / 4] >> (24 - index % 4 * 8) & 0xFF : data4[index - 8];
        std::memcpy(bare + kPlaces[index], &kDigitPairs[2 * byte], 2);
    }
    for (const std::size_t dash : kDashes) bare[dash] = '-';
    text[0] = '{';
    text[KX_GUID_TEXT_LENGTH - 1] = '}';
    text[KX_GUID_TEXT_LENGTH] = '\0';
}

std::size_t std::hash<kxGUID>::operator()(const kxGUID& guid) const noexcept
{
    // GUIDs made one after the other may differ in a few bits only; the multiplications spread them.
    const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(guid);
    std::uint64_t mixed = halves[0] * 0x9E3779B97F4A7C15U;
    mixed = (mixed ^ mixed >> 32 ^ halves[1]) * 0xBF58476D1CE4E5B9U;
    return static_cast<std::size_t>(mixed ^ mixed >> 32);
}
