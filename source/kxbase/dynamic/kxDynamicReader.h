// Takes the bytes of a composed dynamic value apart.
//
// The whole value is looked at first, down to its innermost ones and without copying anything: counts and sizes
// are held against the bytes that are left, and composed values against KX_DYNAMIC_LEVELS. When the form is
// broken anywhere, the reader sends "Corrupt Stream in %s!!" and holds nothing: every count and text is then 0 or
// empty.
//
// Ownership: refers to the value, which must outlive it.
// Threads:   one thread at a time.
#pragma once

#include "kxbase/dynamic/kxDynamicReferences.h"
#include "kxbase/dynamic/kxDynamicType.h"
#include "kxbase/dynamic/kxDynamicTypeName.h"

// How deep composed values may lie in one another. What lies deeper is not put together, and not read.
constexpr std::uint32_t KX_DYNAMIC_LEVELS = 64;

class kxDynamicReader {
public:
    // The reader's name is that of the class that reads. Requires a composed value.
    kxDynamicReader(const kxDynamicType& value, std::string_view readerName);

    // Whether the bytes of a value have the form of its type, in at most so many levels, and name none but objects
    // that the value itself holds.
    static bool isSound(const kxDynamicType& value, std::uint32_t levels = KX_DYNAMIC_LEVELS);

    bool isAtEnd() const noexcept { return at_ == end_; }
    std::uint64_t takeCount() noexcept;
    // Text up to its terminating zero.
    std::string_view takeText() noexcept;
    std::uint32_t takeUInt32() noexcept;
    double takeDouble() noexcept;
    kxDynamicType takeItem();

private:
    struct Item;

    kxDynamicReader(const std::uint8_t* bytes, std::uint32_t size, const kxDynamicReferences* references,
                    kxDynamicReferences::Objects* named = nullptr) noexcept
        : at_(bytes), end_(bytes + size), references_(references), named_(named)
    {}

    std::uint32_t bytesLeft() const noexcept { return static_cast<std::uint32_t>(end_ - at_); }
    // Each answers whether there was one of a sound form.
    bool take(std::uint64_t& number) noexcept;
    bool take(std::string_view& text) noexcept;
    bool takeName(std::string_view& name) noexcept;
    bool take(Item& item) noexcept;
    bool skip(std::uint32_t count) noexcept;

    kxRefPointer<kxReference> referencesIn(kxUniqueId type, const std::uint8_t* bytes,
                                           std::uint32_t size) const;

    // These go over what they look at, and note the objects that it names.
    bool isSoundItem(std::uint32_t levelsLeft);
    bool isSoundValue(kxUniqueId type, std::uint32_t levelsLeft);
    bool isSoundList(std::uint32_t levelsLeft, bool isNamed);
    bool isSoundReference();

    const std::uint8_t* at_;
    const std::uint8_t* end_;
    const kxDynamicReferences* references_;  // null when the value holds none
    kxDynamicReferences::Objects* named_;    // where to note objects; may be null
    kxRefPointer<kxDynamicTypeName> name_;   // of the last item of a type of the program, for its neighbours
};
