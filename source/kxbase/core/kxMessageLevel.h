// Message levels: the level proper in the top nibble of the low 16 bits, refined by low bits and flags.
#pragma once

#include <cstdint>

enum kxMessageLevel : std::uint32_t {
    KX_MESSAGE_MEMORY = 0x1000,
    KX_MESSAGE_PERF = 0x1001,
    KX_MESSAGE_DEBUG = 0x2000,
    KX_MESSAGE_NOTICE = 0x3000,
    KX_MESSAGE_WARNING = 0x4000,
    KX_MESSAGE_FATAL = 0x5000,
    KX_MESSAGE_ASSERT = 0x6000,
    KX_MESSAGE_ALWAYS = 0x7000,
};

// Flags that are added to a level.
constexpr std::uint32_t KX_MESSAGE_INTERNAL = 0x0800;      // from inside the library; shown only when the set
                                                           // level carries the flag too
constexpr std::uint32_t KX_MESSAGE_RAW = 0x0400;           // the text is used as it stands, not formatted
constexpr std::uint32_t KX_MESSAGE_UNTRANSLATED = 0x0200;  // the translator is not asked

// A level without its flags, which is what has a name.
constexpr std::uint32_t KX_MESSAGE_LEVEL_MASK = 0xF0FF;
// The level proper, without what refines it.
constexpr std::uint32_t KX_MESSAGE_LEVEL_NIBBLE = 0xF000;
// What counts of the level that is set when a message is held against it: neither flags nor bit 7, which no
// level has.
constexpr std::uint32_t KX_MESSAGE_SET_LEVEL_MASK = 0xF07F;

constexpr std::uint32_t KX_MESSAGE_INTERNAL_WARNING = KX_MESSAGE_WARNING | KX_MESSAGE_INTERNAL;
