// How the keys of a dictionary are hashed and compared. A traits class has two static functions:
//   std::uint32_t hash(const Key&)         the same for equal keys
//   bool isEqual(const Key&, const Key&)   asked only for keys of equal hash
// and, where many keys share a hash, a third one that tells most of these apart without a look at the keys:
//   std::uint16_t fingerprint(const Key&)  the same for equal keys
#pragma once

#include <cstdint>
#include <type_traits>

// Keys that are addresses: two keys are equal when they are the same object, whatever it holds. Pointers to
// characters do not compile, since their users mean the text. Objects lie at multiples of 16 and far apart, so
// all bits of the address are mixed into the hash.
struct kxInstanceCompareInterface {
    template <typename T> static std::uint32_t hash(const T* key) noexcept
    {
        static_assert(!kIsCharacter<T>, "keys that are text need kxString and kxStringCompareInterface");
        const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(key));
        return static_cast<std::uint32_t>((address * 0x9E3779B97F4A7C15U) >> 32);
    }
    static bool isEqual(const void* left, const void* right) noexcept { return left == right; }

private:
    template <typename T, typename... Characters>
    static constexpr bool kIsOneOf = (std::is_same_v<T, Characters> || ...);
    template <typename T>
    static constexpr bool kIsCharacter =
        kIsOneOf<std::remove_cv_t<T>, char, wchar_t, char8_t, char16_t, char32_t>;
};

// Keys that are 32-bit numbers; the number is its own hash.
struct kxUInt32CompareInterface {
    static std::uint32_t hash(std::uint32_t key) noexcept { return key; }
    static bool isEqual(std::uint32_t left, std::uint32_t right) noexcept { return left == right; }
};
