#include "kxbase/message/kxMessageLevelNames.h"

#include "kxbase/core/kxAsciiCase.h"
#include "kxbase/core/kxMessageLevel.h"

#include <charconv>

namespace {

constexpr std::string_view kInternal = " Internal";
constexpr std::string_view kInternalAlone = " Internal::";
constexpr std::string_view kPrefixEnd = "::";

constexpr struct {
    std::uint32_t level;
    std::string_view internalPrefix;

    // " Internal Warning::" without its first word.
    constexpr std::string_view prefix() const { return internalPrefix.substr(kInternal.size()); }
    constexpr std::string_view name() const
    {
        return prefix().substr(1, prefix().size() - (kPrefixEnd.size() + 1));
    }
} kLevels[] = {
    {KX_MESSAGE_MEMORY, " Internal Memory::"},   {KX_MESSAGE_PERF, " Internal Perf::"},
    {KX_MESSAGE_DEBUG, " Internal Debug::"},     {KX_MESSAGE_NOTICE, " Internal Notice::"},
    {KX_MESSAGE_WARNING, " Internal Warning::"}, {KX_MESSAGE_FATAL, " Internal Fatal::"},
    {KX_MESSAGE_ASSERT, " Internal Assert::"},   {KX_MESSAGE_ALWAYS, " Internal Always::"},
};

bool parseNumber(std::string_view text, std::uint32_t& number)
{
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (isHexadecimal) text.remove_prefix(2);
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, isHexadecimal ? 16 : 10);
    return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

std::string_view kxMessagePrefix(std::uint32_t level)
{
    const bool isInternal = (level & KX_MESSAGE_INTERNAL) != 0;
    for (const auto& row : kLevels) {
        if (row.level == (level & KX_MESSAGE_LEVEL_MASK))
            return isInternal ? row.internalPrefix : row.prefix();
    }
    return isInternal ? kInternalAlone : std::string_view();
}

std::uint32_t kxMessageLevelNamed(std::string_view setting, std::uint32_t fallback)
{
    std::uint32_t number = 0;
    if (parseNumber(setting, number)) return number;

    constexpr std::string_view kInternalWord = "Internal ";
    const bool isInternal = kxEqualsIgnoreCase(setting.substr(0, kInternalWord.size()), kInternalWord);
    if (isInternal) setting.remove_prefix(kInternalWord.size());
    for (const auto& row : kLevels) {
        if (kxEqualsIgnoreCase(setting, row.name()))
            return row.level | (isInternal ? KX_MESSAGE_INTERNAL : 0);
    }
    return fallback;
}
