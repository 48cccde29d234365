// Bits of the factory's flags. All but the first are kept on the adapter that it makes.
#pragma once

#include <cstdint>

constexpr std::uint32_t KX_SERIALIZE_SILENT = 1;       // the factory sends no messages of its own
constexpr std::uint32_t KX_SERIALIZE_WIDE = 2;         // the adapter carries 16-bit characters
constexpr std::uint32_t KX_SERIALIZE_EXACT_NAME = 16;  // a file name is opened as it stands, as all are now
