#include "kxbase/serialize/kxSerializeAdapterString.h"

#include "kxbase/object/kxTypeTable.h"

namespace {

constexpr std::uint32_t kGrowthStep = 100;

}  // namespace

kxSerializeAdapterString::kxSerializeAdapterString(const kxString& text)
    : kxSerializeAdapterQueue(KX_QUEUE_FIFO, kGrowthStep)
{
    kxSerializeAdapterQueue::writeBlock(text.text(), text.length());
}

const kxType& kxSerializeAdapterString::getType() const
{
    return kxTypeTable::find("kxSerializeAdapterString");
}
