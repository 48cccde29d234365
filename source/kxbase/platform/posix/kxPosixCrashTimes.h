// How long the steps of dealing with a fault may take, in milliseconds.
#pragma once

#include <cstdint>

inline constexpr std::uint32_t kxPosixDumpMilliseconds = 10000;  // the dump thread, to write everything down
inline constexpr std::uint32_t kxPosixTellMilliseconds = 1000;   // the dump thread, to tell the user
inline constexpr std::uint32_t kxPosixPrintMilliseconds = 1000;  // standard error, to take a text
inline constexpr std::uint32_t kxPosixHandlerMilliseconds =
    1000;  // a handler before ours, until the program may end
inline constexpr std::uint32_t kxPosixEndMilliseconds = 10000;  // the process, to end once that is settled
inline constexpr std::uint32_t kxPosixOwnerMilliseconds =
    1000;  // whoever deals with a fault, until it is looked whether it is still there
inline constexpr std::uint32_t kxPosixForEver = 0xFFFFFFFF;
