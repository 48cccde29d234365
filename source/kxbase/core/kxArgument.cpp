#include "kxbase/core/kxArgument.h"

#include "kxbase/core/kxMessage.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace {

// Conversion of an out-of-range double to an integer is undefined in the language, hence the tests.
template <typename Integer> Integer saturated(double value) noexcept
{
    using Limits = std::numeric_limits<Integer>;
    if (std::isnan(value)) return 0;
    if (value <= static_cast<double>(Limits::min())) return Limits::min();
    if (value >= static_cast<double>(Limits::max())) return Limits::max();
    return static_cast<Integer>(value);
}

[[noreturn]] void raiseNoText()
{
    kxRaiseFatal("Cant get kxString value out of non kxString kxArgument");
}

// Without a length the text ends at its first zero.
template <typename Char>
std::basic_string_view<Char> upTo(std::size_t maximum, const Char* text, const std::uint32_t* length) noexcept
{
    if (length != nullptr) return {text, std::min<std::size_t>(*length, maximum)};
    const Char* const zero = std::char_traits<Char>::find(text, maximum, Char{});
    return {text, zero != nullptr ? static_cast<std::size_t>(zero - text) : maximum};
}

}  // namespace

std::int64_t kxArgument::toSigned() const noexcept
{
    switch (kind_) {
    case KX_ARGUMENT_SIGNED:
    case KX_ARGUMENT_UNSIGNED:
        return static_cast<std::int64_t>(integer_);
    case KX_ARGUMENT_DOUBLE:
        return saturated<std::int64_t>(double_);
    default:
        return 0;
    }
}

std::uint64_t kxArgument::toUnsigned() const noexcept
{
    // A negative double keeps its two's complement bits, as a negative integer does.
    if (kind_ == KX_ARGUMENT_DOUBLE && !(double_ < 0)) return saturated<std::uint64_t>(double_);
    return static_cast<std::uint64_t>(toSigned());
}

double kxArgument::toDouble() const noexcept
{
    switch (kind_) {
    case KX_ARGUMENT_SIGNED:
        return static_cast<double>(static_cast<std::int64_t>(integer_));
    case KX_ARGUMENT_UNSIGNED:
        return static_cast<double>(integer_);
    case KX_ARGUMENT_DOUBLE:
        return double_;
    default:
        return 0;
    }
}

std::string_view kxArgument::text() const
{
    if (!hasText()) raiseNoText();
    return length_ == kUntilZero ? std::string_view(text_) : std::string_view(text_, length_);
}

std::u16string_view kxArgument::wideText() const
{
    if (!hasWideText()) raiseNoText();
    return length_ == kUntilZero ? std::u16string_view(wide_) : std::u16string_view(wide_, length_);
}

std::string_view kxArgument::text(std::size_t maximum) const
{
    if (!hasText()) raiseNoText();
    return upTo(maximum, text_, length_ == kUntilZero ? nullptr : &length_);
}

std::u16string_view kxArgument::wideText(std::size_t maximum) const
{
    if (!hasWideText()) raiseNoText();
    return upTo(maximum, wide_, length_ == kUntilZero ? nullptr : &length_);
}
