#include "kxbase/dynamic/kxDynamicType.h"

#include "kxbase/dynamic/kxDynamicTypeName.h"
#include "kxbase/object/kxTypeTable.h"
#include "kxbase/serialize/kxCorruptStream.h"
#include "kxbase/serialize/kxSerializeGUID.h"
#include "kxbase/string/kxUniqueStringTable.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kAddressDigits = 16;

constexpr kxUniqueId kTypes[] = {
    KX_UNIQUE_VOID,  KX_UNIQUE_NUM,  KX_UNIQUE_LLNUM, KX_UNIQUE_STR,  KX_UNIQUE_GUID,
    KX_UNIQUE_PTR,   KX_UNIQUE_REF,  KX_UNIQUE_ARRAY, KX_UNIQUE_CONT, KX_UNIQUE_CHAIN,
    KX_UNIQUE_ERROR, KX_UNIQUE_TTAG, KX_UNIQUE_VEC2,  KX_UNIQUE_VEC3, KX_UNIQUE_VEC4,
};
static_assert(std::size(kTypes) == KX_UNIQUE_VEC4 - 1, "every id but that of a value that is not set");

std::uint64_t bitsOf(const void* address)
{
    return reinterpret_cast<std::uintptr_t>(address);
}

const kxString& nameIn(const kxRefPointer<kxReference>& attachment)
{
    return static_cast<const kxDynamicTypeName&>(*attachment).text;
}

template <std::size_t Count> kxDynamicBytes vectorBytes(const std::array<float, Count>& vector)
{
    std::array<std::uint32_t, Count> stored;
    for (std::size_t index = 0; index < Count; ++index)
        stored[index] = kxInByteOrder(std::bit_cast<std::uint32_t>(vector[index]), KX_BYTE_ORDER_LITTLE);
    return {stored.data(), sizeof(stored)};
}

template <typename T> T loadNumber(const std::uint8_t* bytes)
{
    typename kxBinary::BitsOfSize<sizeof(T)>::type bits;
    std::memcpy(&bits, bytes, sizeof(bits));
    return std::bit_cast<T>(kxInByteOrder(bits, KX_BYTE_ORDER_LITTLE));
}

template <typename T> struct Loader {
    static T load(const std::uint8_t* bytes) { return loadNumber<T>(bytes); }
};
template <std::size_t Count> struct Loader<std::array<float, Count>> {
    static std::array<float, Count> load(const std::uint8_t* bytes)
    {
        std::array<float, Count> vector;
        for (std::size_t index = 0; index < Count; ++index)
            vector[index] = loadNumber<float>(bytes + index * sizeof(float));
        return vector;
    }
};
template <> struct Loader<kxGUID> {
    static kxGUID load(const std::uint8_t* bytes)
    {
        kxSerializeGUID::Bytes stored;
        std::memcpy(stored.data(), bytes, stored.size());
        return kxSerializeGUID::decode(stored);
    }
};

void warn()
{
    kxWarnCorruptStream("kxDynamicType");
}

}  // namespace

kxDynamicType::kxDynamicType(std::string_view text)
    : bytes_(text.data(),
             static_cast<std::uint32_t>(std::min<std::size_t>(text.size(), KX_STRING_MAX_LENGTH))),
      typeId_(KX_UNIQUE_STR)
{}

kxDynamicType::kxDynamicType(const kxVec2& vector) noexcept
    : bytes_(vectorBytes(vector)), typeId_(KX_UNIQUE_VEC2)
{}

kxDynamicType::kxDynamicType(const kxVec3& vector) noexcept
    : bytes_(vectorBytes(vector)), typeId_(KX_UNIQUE_VEC3)
{}

kxDynamicType::kxDynamicType(const kxVec4& vector) noexcept
    : bytes_(vectorBytes(vector)), typeId_(KX_UNIQUE_VEC4)
{}

kxDynamicType::kxDynamicType(const kxGUID& guid) noexcept
    : bytes_(kxSerializeGUID::encode(guid).data(), kxSerializeGUID::KX_SIZE_BYTES), typeId_(KX_UNIQUE_GUID)
{}

kxDynamicType::kxDynamicType(void* address) noexcept
    : bytes_(kxDynamicBytes::ofNumber(bitsOf(address))), typeId_(KX_UNIQUE_PTR)
{}

kxDynamicType::kxDynamicType(kxReference* object)
    : bytes_(kxDynamicBytes::ofNumber(bitsOf(object))), typeId_(KX_UNIQUE_REF), attachment_(object)
{}

kxDynamicType::kxDynamicType(const kxString& typeName, const void* bytes, std::uint32_t size)
{
    const kxString name(typeName.text());
    const kxUniqueId type = typeOf(name);
    if (type == KX_UNIQUE_REF || (type == KX_UNIQUE_VOID && size != 0)) {
        warn();
        return;
    }
    if (type == kProgramType) attachment_ = kxMakeRef<kxDynamicTypeName>(name);
    bytes_ = kxDynamicBytes(bytes, size);
    typeId_ = type;
}

kxUniqueId kxDynamicType::typeOf(std::string_view name)
{
    if (name.empty()) return KX_UNIQUE_VOID;
    const kxUniqueStringTable& table = kxUniqueStringTable::instance();
    for (const kxUniqueId type : kTypes)
        if (table.slotOfOwn(type).view() == name) return type;
    return kProgramType;
}

const kxType& kxDynamicType::getType() const
{
    return kxTypeTable::find("kxDynamicType");
}

kxString kxDynamicType::getTypeName() const
{
    return typeId_ == kProgramType ? nameIn(attachment_) : kxUniqueString(typeId_);
}

bool kxDynamicType::isType(const kxString& typeName) const noexcept
{
    if (typeId_ == kProgramType) return nameIn(attachment_) == typeName;
    return typeName.uniqueId() != 0 ? typeName.uniqueId() == typeId_ : typeOf(typeName) == typeId_;
}

bool operator==(const kxDynamicType& left, const kxDynamicType& right) noexcept
{
    return left.typeId_ == right.typeId_ && left.bytes_.size() == right.bytes_.size() &&
           std::equal(left.bytes_.data(), left.bytes_.data() + left.bytes_.size(), right.bytes_.data()) &&
           (left.typeId_ != kxDynamicType::kProgramType ||
            nameIn(left.attachment_) == nameIn(right.attachment_));
}

double kxDynamicType::toNumber() const
{
    if (typeId_ == KX_UNIQUE_LLNUM) return static_cast<double>(toInt64());
    require(KX_UNIQUE_NUM, "Can not convert dynamic argument type '%s' to number type !!");
    switch (bytes_.size()) {
    case 1:
        return static_cast<std::int8_t>(*bytes_.data());
    case 2:
        return loadNumber<std::int16_t>(bytes_.data());
    case 4:
        return loadNumber<std::int32_t>(bytes_.data());
    case 8:
        return loadNumber<double>(bytes_.data());
    default:
        warn();
        return 0;
    }
}

std::int64_t kxDynamicType::toInt64() const
{
    require(KX_UNIQUE_LLNUM, "Can not convert dynamic argument type '%s' to kxDynamicTypeInt64 !!");
    return fixed<std::int64_t>();
}

kxString kxDynamicType::toString() const
{
    switch (typeId_) {
    case KX_UNIQUE_STR:
        return kxString(reinterpret_cast<const char*>(bytes_.data()), bytes_.size());
    case KX_UNIQUE_GUID:
        return toGUID().toString();
    case KX_UNIQUE_PTR:
    case KX_UNIQUE_REF:
        return "0x" + kxString::fromUnsigned(fixed<std::uint64_t>(), {16, kAddressDigits, KX_DIGITS_UPPER});
    default:
        raiseConversion("Can not convert dynamic argument type '%s' to string type !!");
    }
}

kxVec2 kxDynamicType::toVec2() const
{
    require(KX_UNIQUE_VEC2, "Can not convert dynamic argument type '%s' to Vec2 type !!");
    return fixed<kxVec2>();
}

kxVec3 kxDynamicType::toVec3() const
{
    require(KX_UNIQUE_VEC3, "Can not convert dynamic argument type '%s' to Vec3 type !!");
    return fixed<kxVec3>();
}

kxVec4 kxDynamicType::toVec4() const
{
    require(KX_UNIQUE_VEC4, "Can not convert dynamic argument type '%s' to Vec4 type !!");
    return fixed<kxVec4>();
}

kxGUID kxDynamicType::toGUID() const
{
    require(KX_UNIQUE_GUID, "Can not convert dynamic argument type '%s' to GUID type !!");
    return bytes_.size() != 0 ? fixed<kxGUID>() : kxGUID();
}

void* kxDynamicType::toPointer() const
{
    require(KX_UNIQUE_PTR, "Can not convert dynamic argument type '%s' to pointer type !!");
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(fixed<std::uint64_t>()));
}

kxRefPointer<kxReference> kxDynamicType::toReference() const
{
    require(KX_UNIQUE_REF, "Can not convert dynamic argument type '%s' to reference type !!");
    return attachment_;
}

void kxDynamicType::raiseConversion(std::string_view format) const
{
    kxRaiseFatal(format, getTypeName());
}

// The value, or the neutral one when the bytes are not as many as it has.
template <typename T> T kxDynamicType::fixed() const
{
    if (bytes_.size() == sizeof(T)) return Loader<T>::load(bytes_.data());
    warn();
    return T{};
}
