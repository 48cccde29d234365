// The arguments of one format call as a view: up to sixteen slots, of which the unused are empty.
//
// Ownership: refers to the caller's array, which must outlive the call.
// Threads:   a plain value.
// Errors:    none; a slot past the last one given is the empty argument.
#pragma once

#include "kxbase/core/kxArgument.h"

#include <array>

constexpr std::uint32_t KX_ARGUMENT_SLOTS = 16;

class kxArgumentView {
public:
    constexpr kxArgumentView() noexcept = default;
    // More than sixteen arguments do not compile.
    template <std::size_t Count>
    constexpr kxArgumentView(const std::array<kxArgument, Count>& arguments) noexcept
        : first_(arguments.data()), count_(static_cast<std::uint32_t>(Count))
    {
        static_assert(Count <= KX_ARGUMENT_SLOTS, "a format takes at most sixteen arguments");
    }

    const kxArgument& operator[](std::uint32_t slot) const noexcept
    {
        return slot < count_ ? first_[slot] : kEmpty;
    }

private:
    static constexpr kxArgument kEmpty{};

    const kxArgument* first_ = nullptr;
    std::uint32_t count_ = 0;
};

// Lays the arguments of a variadic call out as slots; the result must be a local of the caller.
template <typename... Arguments>
constexpr std::array<kxArgument, sizeof...(Arguments)> kxArgumentSlots(const Arguments&... arguments)
{
    return {kxArgument(arguments)...};
}
