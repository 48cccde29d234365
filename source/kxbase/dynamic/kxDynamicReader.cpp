#include "kxbase/dynamic/kxDynamicReader.h"

#include "kxbase/serialize/kxCorruptStream.h"
#include "kxbase/serialize/kxVarUInt64.h"

namespace {

constexpr std::uint32_t kDoubleBytes = 8;
constexpr std::uint32_t kCodeBytes = 4;

template <typename Bits> Bits load(const std::uint8_t* bytes) noexcept
{
    Bits bits;
    std::memcpy(&bits, bytes, sizeof(bits));
    return kxInByteOrder(bits, KX_BYTE_ORDER_LITTLE);
}

bool isComposed(kxUniqueId type)
{
    return type == KX_UNIQUE_ARRAY || type == KX_UNIQUE_CHAIN || type == KX_UNIQUE_CONT ||
           type == KX_UNIQUE_TTAG;
}

}  // namespace

struct kxDynamicReader::Item {
    std::string_view typeName;
    std::uint32_t size = 0;  // of the bytes, which come next
};

kxDynamicReader::kxDynamicReader(const kxDynamicType& value, std::string_view readerName)
    : kxDynamicReader(value.bytes_.data(), value.bytes_.size(),
                      static_cast<const kxDynamicReferences*>(value.attachment_.get()))
{
    if (isSound(value)) return;
    at_ = end_;
    kxWarnCorruptStream(readerName);
}

bool kxDynamicReader::isSound(const kxDynamicType& value, std::uint32_t levels)
{
    // A single object cannot but be its own, and the bytes of the program's types are not looked at.
    if (value.isType(KX_UNIQUE_REF) || value.isType(kxDynamicType::kProgramType)) return true;
    const auto* const references = static_cast<const kxDynamicReferences*>(value.attachment_.get());
    return kxDynamicReader(value.bytes_.data(), value.bytes_.size(), references)
        .isSoundValue(value.typeId_, levels);
}

std::uint64_t kxDynamicReader::takeCount() noexcept
{
    std::uint64_t number = 0;
    return take(number) ? number : 0;
}

std::string_view kxDynamicReader::takeText() noexcept
{
    std::string_view text;
    return take(text) ? text : std::string_view();
}

std::uint32_t kxDynamicReader::takeUInt32() noexcept
{
    const std::uint8_t* const place = at_;
    return skip(kCodeBytes) ? load<std::uint32_t>(place) : 0;
}

double kxDynamicReader::takeDouble() noexcept
{
    const std::uint8_t* const place = at_;
    return skip(kDoubleBytes) ? std::bit_cast<double>(load<std::uint64_t>(place)) : 0.0;
}

kxDynamicType kxDynamicReader::takeItem()
{
    Item item;
    const std::uint8_t* const place = take(item) ? at_ : nullptr;
    if (place == nullptr || !skip(item.size)) return {};
    const kxUniqueId type = kxDynamicType::typeOf(item.typeName);
    kxDynamicBytes bytes(place, item.size);
    if (type == kxDynamicType::kProgramType) {
        if (!name_ || name_->text != item.typeName)
            name_ = kxMakeRef<kxDynamicTypeName>(kxString(item.typeName));
        return {type, std::move(bytes), name_};
    }
    if (type == KX_UNIQUE_REF)
        return {type, std::move(bytes),
                references_ != nullptr ? references_->find(load<std::uint64_t>(place)) : nullptr};
    return {type, std::move(bytes), isComposed(type) ? referencesIn(type, place, item.size) : nullptr};
}

// Those of the objects that the bytes of a sound value name; null when it names none.
kxRefPointer<kxReference> kxDynamicReader::referencesIn(kxUniqueId type, const std::uint8_t* bytes,
                                                        std::uint32_t size) const
{
    if (references_ == nullptr) return nullptr;
    kxDynamicReferences::Objects named;
    kxDynamicReader(bytes, size, references_, &named).isSoundValue(type, KX_DYNAMIC_LEVELS);
    if (named.isEmpty()) return nullptr;
    return kxMakeRef<kxDynamicReferences>(std::move(named));
}

bool kxDynamicReader::take(std::uint64_t& number) noexcept
{
    const std::uint32_t size = kxVarUInt64::decode(at_, bytesLeft(), number);
    at_ += size;
    return size != 0;
}

bool kxDynamicReader::take(std::string_view& text) noexcept
{
    if (isAtEnd()) return false;
    const auto* const zero = static_cast<const std::uint8_t*>(std::memchr(at_, 0, bytesLeft()));
    if (zero == nullptr) return false;
    text = {reinterpret_cast<const char*>(at_), static_cast<std::size_t>(zero - at_)};
    at_ = zero + 1;
    return true;
}

// A text that a string holds whole: cut, two names might become one.
bool kxDynamicReader::takeName(std::string_view& name) noexcept
{
    return take(name) && name.size() <= KX_STRING_MAX_LENGTH;
}

// A value without a type is none.
bool kxDynamicReader::take(Item& item) noexcept
{
    std::uint64_t size = 0;
    if (!takeName(item.typeName) || item.typeName.empty() || !take(size) || size > bytesLeft()) return false;
    item.size = static_cast<std::uint32_t>(size);
    return true;
}

bool kxDynamicReader::skip(std::uint32_t count) noexcept
{
    if (count > bytesLeft()) return false;
    at_ += count;
    return true;
}

bool kxDynamicReader::isSoundItem(std::uint32_t levelsLeft)
{
    Item item;
    if (!take(item)) return false;
    kxDynamicReader inside(at_, item.size, references_, named_);
    at_ += item.size;
    return inside.isSoundValue(kxDynamicType::typeOf(item.typeName), levelsLeft);
}

// Whether all bytes up to the end are one value of the type. Without a default, so that compilers tell of a kind that
// is missing.
bool kxDynamicReader::isSoundValue(kxUniqueId type, std::uint32_t levelsLeft)
{
    if (isComposed(type) && levelsLeft-- == 0) return false;
    std::string_view text;
    switch (type) {
    case KX_UNIQUE_ARRAY:
    case KX_UNIQUE_CHAIN:
        return isSoundList(levelsLeft, false) && isAtEnd();
    case KX_UNIQUE_CONT:
        return isSoundList(levelsLeft, true) && isAtEnd();
    case KX_UNIQUE_TTAG:
        return isSoundItem(levelsLeft) && skip(kDoubleBytes) && isAtEnd();
    case KX_UNIQUE_ERROR:
        return skip(kCodeBytes) && take(text) && isAtEnd();
    case KX_UNIQUE_REF:
        return isSoundReference();
    case KX_UNIQUE_VOID:
        return isAtEnd();
    // Any bytes will do, see the conversions.
    case KX_UNIQUE_NUM:
    case KX_UNIQUE_LLNUM:
    case KX_UNIQUE_STR:
    case KX_UNIQUE_GUID:
    case KX_UNIQUE_PTR:
    case KX_UNIQUE_VEC2:
    case KX_UNIQUE_VEC3:
    case KX_UNIQUE_VEC4:
    case KX_UNIQUE_VALUE_NOT_SET:
    case kxDynamicType::kProgramType:
        break;
    }
    return true;
}

bool kxDynamicReader::isSoundList(std::uint32_t levelsLeft, bool isNamed)
{
    std::uint64_t count = 0;
    if (!take(count)) return false;
    std::string_view name;
    for (; count != 0; --count)
        if ((isNamed && !takeName(name)) || !isSoundItem(levelsLeft)) return false;
    return true;
}

// Null, or an object that the value itself keeps alive.
bool kxDynamicReader::isSoundReference()
{
    if (bytesLeft() != sizeof(std::uint64_t)) return false;
    const auto address = load<std::uint64_t>(at_);
    if (address == 0) return true;
    kxReference* const object = references_ != nullptr ? references_->find(address) : nullptr;
    if (object != nullptr && named_ != nullptr) named_->append(object);
    return object != nullptr;
}
