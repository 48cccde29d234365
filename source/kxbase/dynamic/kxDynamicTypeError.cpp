#include "kxbase/dynamic/kxDynamicTypeError.h"

#include "kxbase/dynamic/kxDynamicReader.h"
#include "kxbase/dynamic/kxDynamicWriter.h"

kxDynamicTypeError::kxDynamicTypeError(const kxDynamicType& value)
{
    value.require(KX_UNIQUE_ERROR, "Can not convert dynamic argument type '%s' to kxDynamicTypeError !!");
    kxDynamicReader reader(value, "kxDynamicTypeError");
    code_ = static_cast<std::int32_t>(reader.takeUInt32());
    text_ = reader.takeText();
}

kxDynamicTypeError::operator kxDynamicType() const
{
    kxDynamicWriter writer;
    writer.addNumber(static_cast<std::uint32_t>(code_));
    writer.addText(text_);
    return writer.finish(KX_UNIQUE_ERROR);
}
