// A value of any of a set of kinds, each with a short name, kept as bytes in the serializers' form.
//
//   name     kind                          bytes, numbers little-endian
//   "void"   no value                      none
//   "num"    number                        an integer of 1, 2 or 4 bytes when that holds it, else the double
//   "llnum"  64-bit signed integer         8
//   "str"    text                          the text alone
//   "vec2", "vec3", "vec4"                 as many floats
//   "guid"   kxGUID                        as kxSerializeGUID; none at all is the null GUID
//   "ptr"    address                       8
//   "ref"    object                        8; its address
//   "array", "chain", "cont", "error", "ttag": see kxDynamicTypeArray, kxDynamicTypeChain,
//            kxDynamicTypeContainer, kxDynamicTypeError, kxDynamicTypeTimeTagged
//   others   types of the program          see kxDynamicTypeCustom
//
// Ownership: owns its bytes; a "ref", and a value that has some inside, owns one count of each object. Copies have
//            their own of both.
// Threads:   a plain value. The counts are the objects' own, thread-safe or not.
// Errors:    asking for another kind than the value has is fatal, and there is no conversion but those below: a
//            text that holds digits is no number. Bytes that do not have the form of the kind, too few or too many,
//            give its neutral value (0, null, empty) and the Warning "Corrupt Stream in kxDynamicType!!". Addresses of
//            objects are never taken from bytes: a "ref" that comes from outside becomes "void", with the same
//            Warning. A "str" that is too long for a kxString keeps its bytes; its text is cut as one.
#pragma once

#include "kxbase/dynamic/kxDynamicBytes.h"
#include "kxbase/object/kxRefPointer.h"
#include "kxbase/object/kxReference.h"
#include "kxbase/serialize/kxSerializeVector.h"
#include "kxbase/string/kxGUID.h"
#include "kxbase/string/kxUniqueString.h"

#include <concepts>
#include <limits>

class kxDynamicType final : public kxTypeInterface {
public:
    // "void".
    kxDynamicType() noexcept = default;
    // "num". An unsigned 64-bit number becomes a double as well, and loses its lowest bits above 2^53.
    kxDynamicType(double number) noexcept : bytes_(numberBytes(number)), typeId_(KX_UNIQUE_NUM) {}
    template <std::integral T>
    requires(sizeof(T) < 8) kxDynamicType(T number)
    noexcept : kxDynamicType(static_cast<double>(number)) {}
    // "llnum".
    template <std::signed_integral T>
    requires(sizeof(T) == 8) kxDynamicType(T number)
    noexcept : bytes_(kxDynamicBytes::ofNumber(static_cast<std::uint64_t>(number))), typeId_(KX_UNIQUE_LLNUM)
    {}
    // "str", cut as a kxString is.
    kxDynamicType(std::string_view text);
    kxDynamicType(const kxString& text) : kxDynamicType(text.view()) {}
    kxDynamicType(const char* text) : kxDynamicType(kxString(text)) {}
    kxDynamicType(const kxVec2& vector) noexcept;
    kxDynamicType(const kxVec3& vector) noexcept;
    kxDynamicType(const kxVec4& vector) noexcept;
    kxDynamicType(const kxGUID& guid) noexcept;
    // "ptr".
    explicit kxDynamicType(void* address) noexcept;
    // "ref"; null is allowed.
    explicit kxDynamicType(kxReference* object);
    template <std::derived_from<kxReference> T>
    explicit kxDynamicType(const kxRefPointer<T>& object)
        : kxDynamicType(static_cast<kxReference*>(object.get()))
    {}
    // Any type by its name, which ends at its first zero byte, and its bytes. No name is "void".
    kxDynamicType(const kxString& typeName, const void* bytes, std::uint32_t size);

    kxDynamicType(const kxDynamicType& other)
        : bytes_(other.bytes_), typeId_(other.typeId_), attachment_(other.attachment_)
    {}
    // What was moved from is "void".
    kxDynamicType(kxDynamicType&& other) noexcept
        : bytes_(std::move(other.bytes_)), typeId_(std::exchange(other.typeId_, KX_UNIQUE_VOID)),
          attachment_(std::move(other.attachment_))
    {}
    kxDynamicType& operator=(kxDynamicType other)
    {
        bytes_ = std::move(other.bytes_);
        typeId_ = other.typeId_;
        attachment_.swap(other.attachment_);
        return *this;
    }
    ~kxDynamicType() noexcept(false) = default;

    const kxType& getType() const override;

    kxString getTypeName() const;
    bool isType(kxUniqueId type) const noexcept { return typeId_ == type; }
    // No name is "void".
    bool isType(const kxString& typeName) const noexcept;
    std::span<const std::uint8_t> getBytes() const noexcept { return bytes_; }
    // Same type and same bytes.
    friend bool operator==(const kxDynamicType& left, const kxDynamicType& right) noexcept;

    // "num" or "llnum".
    double toNumber() const;
    // "llnum".
    std::int64_t toInt64() const;
    // "str"; the text of a "guid"; "0x" and 16 digits for "ptr" and "ref".
    kxString toString() const;
    kxVec2 toVec2() const;
    kxVec3 toVec3() const;
    kxVec4 toVec4() const;
    kxGUID toGUID() const;
    // "ptr".
    void* toPointer() const;
    // "ref".
    kxRefPointer<kxReference> toReference() const;

    // The value itself. Fatal when it has another type; the format has one %s, for the name of the type that the value
    // has.
    const kxDynamicType& require(kxUniqueId type, std::string_view format) const
    {
        if (typeId_ != type) raiseConversion(format);
        return *this;
    }

private:
    friend class kxDynamicReader;
    friend class kxDynamicWriter;

    // A type of the program, which has a name and no id.
    static constexpr kxUniqueId kProgramType = KX_UNIQUE_NONE;

    kxDynamicType(kxUniqueId type, kxDynamicBytes bytes, kxRefPointer<kxReference> attachment) noexcept
        : bytes_(std::move(bytes)), typeId_(type), attachment_(std::move(attachment))
    {}

    // The shortest form that gives the number back; -0.0 counts as 0.
    static kxDynamicBytes numberBytes(double number) noexcept
    {
        using Limits = std::numeric_limits<std::int32_t>;
        if (number >= Limits::min() && number <= Limits::max()) {
            const auto integer = static_cast<std::int32_t>(number);
            if (integer == number)
                return kxDynamicBytes::ofNumber(static_cast<std::uint32_t>(integer), sizeOf(integer));
        }
        return kxDynamicBytes::ofNumber(std::bit_cast<std::uint64_t>(number));
    }
    static std::uint32_t sizeOf(std::int32_t integer) noexcept
    {
        if (integer == static_cast<std::int8_t>(integer)) return 1;
        return integer == static_cast<std::int16_t>(integer) ? 2 : 4;
    }
    // KX_UNIQUE_VOID for no name.
    static kxUniqueId typeOf(std::string_view name);
    [[noreturn]] void raiseConversion(std::string_view format) const;
    template <typename T> T fixed() const;

    kxDynamicBytes bytes_;
    kxUniqueId typeId_ = KX_UNIQUE_VOID;
    // Of a "ref" the object; of a value with some inside a kxDynamicReferences, which keeps them alive; of a type
    // of the program its kxDynamicTypeName.
    kxRefPointer<kxReference> attachment_;
};
