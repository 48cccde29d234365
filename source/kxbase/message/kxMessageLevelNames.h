// The words that stand before a message of a level, and the levels by those words.
#pragma once

#include <cstdint>
#include <string_view>

// For example " Warning::" or " Internal Warning::". A level without words of its own has none, unless it is
// internal.
std::string_view kxMessagePrefix(std::uint32_t level);

// The level that a setting names: a number, or a word such as "Warning" in any case, with "Internal " before
// it where internal messages are to be seen. Answers the fallback for any other text.
std::uint32_t kxMessageLevelNamed(std::string_view setting, std::uint32_t fallback);
