// The grammar of format texts as a table: what each state does with each character.
//
// Included by kxFormatter.cpp alone.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace kxFormatTable {

// What comes next in the format text.
enum State : std::uint8_t {
    kText,     // plain text
    kPercent,  // a second percent sign or a conversion
    kStart,    // the first character of a conversion
    kStar,     // what follows a '*': says whether it was a position or a width
    kNumber,   // digits that are a position or a width
    kFlags,
    kWidth,
    kWidthDigits,
    kDot,
    kPrecision,
    kPrecisionDigits,
    kSize,
    kSize2,       // the second letter of "ll"
    kConversion,  // the letter
    kStateCount
};

enum Action : std::uint8_t {
    kNothing,
    kReset,
    kAppend,
    kReadStar,
    kClearNumber,
    kAddDigit,
    kPositionFromStar,
    kWidthFromStar,
    kPositionFromNumber,
    kPositionZero,  // "0$" is the number 0; a '0' without '$' is left to be a flag
    kWidthFromNumber,
    kSetLeft,
    kSetPlus,
    kSetZero,
    kSetSpace,
    kSetAlternate,
    kWidthFromArgument,
    kPrecisionFromArgument,
    kPrecisionFromNumber,
    kSize2Bytes,
    kSize4Bytes,
    kSize8Bytes,
    kConvert
};

// Whether the character is consumed or handed to the next state.
enum Take : std::uint8_t { kTake, kUnget };

struct Rule {
    State state;
    const char* characters;
    Action action;
    Take take;
    State next;
};

inline constexpr const char* kOther = nullptr;
inline constexpr const char* kDigits = "0123456789";

// State, characters, action, whether the character is consumed, next state. The first rule of a state that fits
// applies; every state ends with one for all other characters.
inline constexpr Rule kRules[] = {
    {kText, "%", kReset, kTake, kPercent},
    {kText, kOther, kAppend, kTake, kText},

    {kPercent, "%", kAppend, kTake, kText},
    {kPercent, kOther, kNothing, kUnget, kStart},

    {kStart, "*", kReadStar, kTake, kStar},
    {kStart, "123456789", kClearNumber, kUnget, kNumber},
    {kStart, "0", kPositionZero, kUnget, kFlags},
    {kStart, kOther, kNothing, kUnget, kFlags},

    {kStar, "$", kPositionFromStar, kTake, kFlags},
    {kStar, kOther, kWidthFromStar, kUnget, kDot},

    {kNumber, kDigits, kAddDigit, kTake, kNumber},
    {kNumber, "$", kPositionFromNumber, kTake, kFlags},
    {kNumber, kOther, kWidthFromNumber, kUnget, kDot},

    {kFlags, "-", kSetLeft, kTake, kFlags},
    {kFlags, "+", kSetPlus, kTake, kFlags},
    {kFlags, "0", kSetZero, kTake, kFlags},
    {kFlags, " ", kSetSpace, kTake, kFlags},
    {kFlags, "#", kSetAlternate, kTake, kFlags},
    {kFlags, kOther, kNothing, kUnget, kWidth},

    {kWidth, "*", kWidthFromArgument, kTake, kDot},
    {kWidth, kDigits, kClearNumber, kUnget, kWidthDigits},
    {kWidth, kOther, kNothing, kUnget, kDot},  // no digits: the width stays 0

    {kWidthDigits, kDigits, kAddDigit, kTake, kWidthDigits},
    {kWidthDigits, kOther, kWidthFromNumber, kUnget, kDot},

    {kDot, ".", kNothing, kTake, kPrecision},
    {kDot, kOther, kNothing, kUnget, kSize},

    {kPrecision, "*", kPrecisionFromArgument, kTake, kSize},
    {kPrecision, kDigits, kClearNumber, kUnget, kPrecisionDigits},
    {kPrecision, kOther, kNothing, kUnget, kSize},  // no digits: no precision

    {kPrecisionDigits, kDigits, kAddDigit, kTake, kPrecisionDigits},
    {kPrecisionDigits, kOther, kPrecisionFromNumber, kUnget, kSize},

    {kSize, "lL", kSize4Bytes, kTake, kSize2},
    {kSize, "hH", kSize2Bytes, kTake, kConversion},
    {kSize, kOther, kNothing, kUnget, kConversion},

    {kSize2, "lL", kSize8Bytes, kTake, kConversion},
    {kSize2, kOther, kNothing, kUnget, kConversion},

    {kConversion, kOther, kConvert, kTake, kText},
};

constexpr bool everyStateGoesOn()
{
    for (std::uint8_t state = 0; state < kStateCount; ++state) {
        const auto takesAll = [state](const Rule& rule) {
            return rule.state == state && rule.characters == kOther;
        };
        if (!std::any_of(std::begin(kRules), std::end(kRules), takesAll)) return false;
    }
    return true;
}
static_assert(everyStateGoesOn(), "a rule for all other characters is missing");

inline constexpr std::size_t kAsciiCount = 128;

// What a rule says, for each state and character. Column 0 is "other", also for all beyond ASCII.
struct Step {
    Action action;
    Take take;
    State next;
};
using Steps = std::array<std::array<Step, kAsciiCount>, kStateCount>;

constexpr Steps stepsOfRules()
{
    Steps steps{};
    for (std::size_t i = std::size(kRules); i-- != 0;) {
        const Rule& rule = kRules[i];
        const Step step{rule.action, rule.take, rule.next};
        if (rule.characters == kOther) steps[rule.state].fill(step);
        for (const char* c = rule.characters; c != kOther && *c != 0; ++c)
            steps[rule.state][static_cast<std::size_t>(*c)] = step;
    }
    return steps;
}

// A step that only hands the character on is replaced by the one that it leads to, so that the letter of "%d"
// takes one step instead of seven.
constexpr Steps shortened(Steps steps)
{
    for (auto& row : steps) {
        for (std::size_t c = 0; c < kAsciiCount; ++c)
            while (row[c].action == kNothing && row[c].take == kUnget) row[c] = steps[row[c].next][c];
    }
    return steps;
}

inline constexpr Steps kSteps = shortened(stepsOfRules());

constexpr Step stepFor(State state, unsigned char character) noexcept
{
    return kSteps[state][character < kAsciiCount ? character : 0];
}

}  // namespace kxFormatTable
