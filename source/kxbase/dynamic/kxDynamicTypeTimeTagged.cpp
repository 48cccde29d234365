#include "kxbase/dynamic/kxDynamicTypeTimeTagged.h"

#include "kxbase/dynamic/kxDynamicReader.h"
#include "kxbase/dynamic/kxDynamicWriter.h"

kxDynamicTypeTimeTagged::kxDynamicTypeTimeTagged(const kxDynamicType& value)
{
    value.require(KX_UNIQUE_TTAG, "Can not convert dynamic argument type '%s' to kxDynamicTypeTimeTagged !!");
    kxDynamicReader reader(value, "kxDynamicTypeTimeTagged");
    value_ = reader.takeItem();
    timeSeconds_ = reader.takeDouble();
}

kxDynamicTypeTimeTagged::operator kxDynamicType() const
{
    kxDynamicWriter writer;
    writer.addItem(value_);
    writer.addNumber(std::bit_cast<std::uint64_t>(timeSeconds_));
    return writer.finish(KX_UNIQUE_TTAG);
}
