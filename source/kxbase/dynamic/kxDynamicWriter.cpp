#include "kxbase/dynamic/kxDynamicWriter.h"

#include "kxbase/dynamic/kxDynamicReader.h"
#include "kxbase/serialize/kxCorruptStream.h"
#include "kxbase/serialize/kxVarUInt64.h"

void kxDynamicWriter::addCount(std::uint64_t number)
{
    std::uint8_t bytes[kxVarUInt64::KX_MAX_BYTES];
    addBytes(bytes, kxVarUInt64::encode(number, bytes));
}

void kxDynamicWriter::addText(const kxString& text)
{
    addBytes(text.text(), static_cast<std::uint32_t>(std::strlen(text.text())) + 1);
}

void kxDynamicWriter::addItem(const kxDynamicType& value)
{
    if (kxDynamicReader::isSound(value, KX_DYNAMIC_LEVELS - 1)) return addSoundItem(value);
    kxWarnCorruptStream("kxDynamicType");
    addSoundItem({});
}

void kxDynamicWriter::addSoundItem(const kxDynamicType& value)
{
    addText(value.getTypeName());
    addCount(value.bytes_.size());
    addBytes(value.bytes_.data(), value.bytes_.size());
    if (!value.attachment_ || value.isType(kxDynamicType::kProgramType)) return;
    if (value.isType(KX_UNIQUE_REF)) {
        objects_.append(value.attachment_);
        return;
    }
    const auto& inside = static_cast<const kxDynamicReferences&>(*value.attachment_).objects();
    objects_.appendBlock(inside.data(), inside.size());
}

kxDynamicType kxDynamicWriter::finish(kxUniqueId type)
{
    kxRefPointer<kxReference> references;
    if (!objects_.isEmpty()) references = kxMakeRef<kxDynamicReferences>(std::move(objects_));
    return {type, kxDynamicBytes(bytes_.data(), bytes_.size()), std::move(references)};
}

void kxDynamicWriter::addBytes(const void* bytes, std::uint32_t count)
{
    bytes_.appendBlock(static_cast<const std::uint8_t*>(bytes), count);
}
