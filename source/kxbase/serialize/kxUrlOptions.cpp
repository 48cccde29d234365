#include "kxbase/serialize/kxUrlOptions.h"

#include "kxbase/core/kxAsciiCase.h"
#include "kxbase/string/kxNumberScanner.h"

#include <algorithm>

namespace {

constexpr struct {
    std::string_view text;
    bool value;
} kBooleans[] = {{"yes", true}, {"true", true}, {"no", false}, {"false", false}};

// Takes the first item off the text.
std::string_view takeItem(std::string_view& rest)
{
    constexpr std::string_view kEscapeBehindAmpersand = "amp;";
    const std::string_view item = rest.substr(0, rest.find('&'));
    rest.remove_prefix(std::min(item.size() + 1, rest.size()));
    if (rest.starts_with(kEscapeBehindAmpersand)) rest.remove_prefix(kEscapeBehindAmpersand.size());
    return item;
}

}  // namespace

std::string_view kxUrlOptions::find(std::string_view key) const noexcept
{
    constexpr std::string_view kValueOfBareKey = "true";
    for (std::string_view rest = options_; !rest.empty();) {
        const std::string_view item = takeItem(rest);
        if (!item.starts_with(key)) continue;
        if (item.size() > key.size() && item[key.size()] == '=') return item.substr(key.size() + 1);
        if (item.size() == key.size() && !key.empty()) return kValueOfBareKey;
    }
    return {};
}

bool kxUrlOptions::has(std::string_view key) const noexcept
{
    return find(key).data() != nullptr;
}

std::string_view kxUrlOptions::getText(std::string_view key, std::string_view defaultValue) const noexcept
{
    const std::string_view value = find(key);
    return value.data() != nullptr ? value : defaultValue;
}

bool kxUrlOptions::getBool(std::string_view key, bool defaultValue) const noexcept
{
    const std::string_view value = find(key);
    for (const auto& row : kBooleans) {
        if (kxEqualsIgnoreCase(value, row.text)) return row.value;
    }
    return defaultValue;
}

double kxUrlOptions::getNumber(std::string_view key, double defaultValue) const noexcept
{
    const std::string_view value = find(key);
    const kxScannedNumber number = kxNumberScanner().scan(value);
    return number.isNumber() && number.length == value.size() ? number.value : defaultValue;
}

std::int64_t kxUrlOptions::getInteger(std::string_view key, std::int64_t defaultValue) const noexcept
{
    const std::string_view value = find(key);
    const kxNumberScanner scanner;
    const kxScannedNumber number = scanner.scan(value);
    return number.isNumber() && number.length == value.size() ? scanner.scanInteger(value) : defaultValue;
}
