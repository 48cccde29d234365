// Open modes of adapters; their sum asks for both.
#pragma once

#include <cstdint>

constexpr std::uint32_t KX_SERIALIZE_OUTPUT = 1;
constexpr std::uint32_t KX_SERIALIZE_INPUT = 2;
