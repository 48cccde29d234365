#include "kxbase/serialize/kxSerializeGUID.h"

#include "kxbase/serialize/kxByteOrder.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

#include <cstddef>

static_assert(offsetof(kxGUID, data2) == 4 && offsetof(kxGUID, data3) == 6 && offsetof(kxGUID, data4) == 8,
              "the parts lie as they are stored");

namespace {

// Turns data1 to data3 from the host's order into that of networks, and back, which is the same; data4 is bytes.
kxGUID inNetworkOrder(kxGUID value) noexcept
{
    value.data1 = kxInByteOrder(value.data1, KX_BYTE_ORDER_BIG);
    value.data2 = kxInByteOrder(value.data2, KX_BYTE_ORDER_BIG);
    value.data3 = kxInByteOrder(value.data3, KX_BYTE_ORDER_BIG);
    return value;
}

}  // namespace

kxSerializeGUID::Bytes kxSerializeGUID::encode(const kxGUID& value) noexcept
{
    return std::bit_cast<Bytes>(inNetworkOrder(value));
}

kxGUID kxSerializeGUID::decode(const Bytes& bytes) noexcept
{
    return inNetworkOrder(std::bit_cast<kxGUID>(bytes));
}

void kxSerializeGUID::write(kxSerializeAdapter& adapter) const
{
    const Bytes bytes = encode(value_);
    adapter.write(bytes.data(), KX_SIZE_BYTES);
}

void kxSerializeGUID::read(kxSerializeAdapter& adapter)
{
    Bytes bytes = encode(value_);
    adapter.read(bytes.data(), KX_SIZE_BYTES);
    value_ = decode(bytes);
}

void kxSerializeGUID::pushBack(kxSerializeAdapter& adapter) const
{
    const Bytes bytes = encode(value_);
    adapter.pushBack(bytes.data(), KX_SIZE_BYTES);
}
