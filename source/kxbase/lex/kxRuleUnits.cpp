#include "kxbase/lex/kxRuleUnits.h"

bool kxRuleUnits::decode(std::string_view text, bool isWide, std::u16string& units)
{
    constexpr std::uint32_t kFirstPair = 0x10000;
    units.clear();
    while (!text.empty()) {
        kxUtfSequence sequence{static_cast<unsigned char>(text.front()), 1};
        if (isWide) sequence = kxUtfPeek(text);
        if (sequence.length == 0 || sequence.codePoint > 0x10FFFF) return false;
        if (sequence.codePoint >= kFirstPair) {
            sequence.codePoint -= kFirstPair;
            units += static_cast<char16_t>(0xD800U | (sequence.codePoint >> 10U));
            sequence.codePoint = 0xDC00U | (sequence.codePoint & 0x3FFU);
        }
        units += static_cast<char16_t>(sequence.codePoint);
        text.remove_prefix(sequence.length);
    }
    return true;
}
