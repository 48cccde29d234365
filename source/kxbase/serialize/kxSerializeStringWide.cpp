#include "kxbase/serialize/kxSerializeStringWide.h"

#include "kxbase/serialize/kxCollectedText.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

namespace {

constexpr std::uint32_t kUnitBytes = 2;

std::uint32_t sizeBytes(const kxArray<char16_t>& units)
{
    return units.size() * kUnitBytes;
}

bool hasMore(kxSerializeAdapter& adapter)
{
    return adapter.length() != 0 || adapter.hasData();
}

// False when the data ends before the unit is whole.
bool readUnit(kxSerializeAdapter& adapter, kxByteOrder order, char16_t& unit)
{
    if (!hasMore(adapter)) return false;
    const std::uint32_t first = adapter.readChar();
    if (!hasMore(adapter)) return false;
    const std::uint32_t second = adapter.readChar();
    unit = static_cast<char16_t>(order == KX_BYTE_ORDER_BIG ? first << 8 | second : second << 8 | first);
    return true;
}

}  // namespace

kxSerializeStringWide::kxSerializeStringWide(const kxString& text, kxByteOrder order, char16_t terminator)
    : text_(text), terminator_(terminator), order_(order)
{}

void kxSerializeStringWide::write(kxSerializeAdapter& adapter) const
{
    const kxArray<char16_t> units = stored();
    adapter.write(units.data(), sizeBytes(units));
}

void kxSerializeStringWide::read(kxSerializeAdapter& adapter)
{
    kxCollectedText<char16_t> collected;
    char16_t unit = 0;
    while (readUnit(adapter, order_, unit) && unit != terminator_) collected.add(unit);
    text_ = kxString(collected.view());
}

void kxSerializeStringWide::pushBack(kxSerializeAdapter& adapter) const
{
    const kxArray<char16_t> units = stored();
    adapter.pushBack(units.data(), sizeBytes(units));
}

std::uint32_t kxSerializeStringWide::getDataSize() const
{
    return (text_.characterCount() + 1) * kUnitBytes;
}

kxArray<char16_t> kxSerializeStringWide::stored() const
{
    kxArray<char16_t> units(text_.length() + std::uint32_t{1});
    units.resize(text_.copyWide(units.data(), false));
    units.append(terminator_);
    for (char16_t& unit : units)
        unit = static_cast<char16_t>(kxInByteOrder(static_cast<std::uint16_t>(unit), order_));
    return units;
}
