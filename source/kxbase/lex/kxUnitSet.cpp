#include "kxbase/lex/kxUnitSet.h"

namespace {

std::string nameOf(std::size_t unit)
{
    constexpr char digits[] = "0123456789ABCDEF";
    if (unit > ' ' && unit <= '~') return std::string(1, static_cast<char>(unit));
    return {'x', digits[unit / 16], digits[unit % 16]};
}

}  // namespace

std::string kxUnitSet::print() const
{
    std::string text = "[";
    for (std::size_t unit = 0; unit < kHigh; ++unit) {
        if (!bits_[unit]) continue;
        std::size_t last = unit;
        while (last + 1 < kHigh && bits_[last + 1]) ++last;
        text += nameOf(unit);
        if (last > unit) text += (last > unit + 1 ? "-" : "") + nameOf(last);
        unit = last;
    }
    if (bits_[kHigh]) text += " high";
    if (bits_[kNothing]) text += " nothing";
    return text + "]";
}
