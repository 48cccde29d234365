#include "kxbase/dynamic/kxDynamicTypeSequence.h"

#include "kxbase/dynamic/kxDynamicReader.h"
#include "kxbase/dynamic/kxDynamicWriter.h"

kxDynamicTypeSequence::kxDynamicTypeSequence(const kxDynamicType& value, std::string_view className)
{
    kxDynamicReader reader(value, className);
    for (std::uint64_t left = reader.takeCount(); left != 0; --left) values_.append(reader.takeItem());
}

kxDynamicType kxDynamicTypeSequence::toValue(kxUniqueId type) const
{
    kxDynamicWriter writer;
    writer.addCount(count());
    for (const kxDynamicType& value : values_) writer.addItem(value);
    return writer.finish(type);
}

void kxDynamicTypeSequence::set(std::uint32_t index, kxDynamicType value)
{
    get(index);
    values_[index] = std::move(value);
}

void kxDynamicTypeSequence::remove(std::uint32_t index)
{
    get(index);
    std::move(values_.begin() + index + 1, values_.end(), values_.begin() + index);
    values_.resize(count() - 1);
}

bool operator==(const kxDynamicTypeSequence& left, const kxDynamicTypeSequence& right) noexcept
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end());
}
