// How long the steps of dealing with a fault may take, in milliseconds.
#pragma once

#include <cstdint>

inline constexpr std::uint32_t KX_POSIX_DUMP_MILLISECONDS =
    10000;  // the dump thread, to write everything down
inline constexpr std::uint32_t KX_POSIX_TELL_MILLISECONDS = 1000;   // the dump thread, to tell the user
inline constexpr std::uint32_t KX_POSIX_PRINT_MILLISECONDS = 1000;  // standard error, to take a text
// A previous handler, until the program may end.
inline constexpr std::uint32_t KX_POSIX_PREVIOUS_HANDLER_MILLISECONDS = 1000;
inline constexpr std::uint32_t KX_POSIX_END_MILLISECONDS = 10000;  // the process, to end once that is settled
