// Powers of ten from a table, each the nearest double.
//
// Threads: a plain function.
// Errors:  none; an exponent beyond the table is taken as its nearest end.
#pragma once

#include <cstdint>

constexpr std::int32_t KX_POWER_OF_TEN_MAX = 308;

// Ten to the power of an exponent from -KX_POWER_OF_TEN_MAX to KX_POWER_OF_TEN_MAX.
double kxPowerOfTen(std::int32_t exponent) noexcept;
