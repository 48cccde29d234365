#include "kxbase/core/kxArgument.h"

#include "kxbase/core/kxMessage.h"

#include <cmath>
#include <limits>

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
    if (!hasText()) kxRaiseFatal("Cant get kxString value out of non kxString kxArgument");
    return length_ == kUntilZero ? std::string_view(text_) : std::string_view(text_, length_);
}

std::u16string_view kxArgument::wideText() const
{
    if (!hasWideText()) kxRaiseFatal("Cant get kxString value out of non kxString kxArgument");
    return wide_;
}
