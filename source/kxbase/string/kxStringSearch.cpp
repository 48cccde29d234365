// Searching in strings, and the strings that are made by searching.
#include "kxbase/core/kxAsciiCase.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/string/kxString.h"
#include "kxbase/string/kxStringBuild.h"
#include "kxbase/string/kxWhiteSpace.h"

#include <algorithm>
#include <new>

namespace {

constexpr char raised(char c) noexcept
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

std::uint32_t indexOf(std::size_t found) noexcept
{
    return found == std::string_view::npos ? KX_STRING_NOT_FOUND : static_cast<std::uint32_t>(found);
}

std::size_t countMatches(std::string_view text, std::string_view what) noexcept
{
    if (what.empty()) return 0;
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string_view::npos; at += what.size()) ++count;
    return count;
}

// The pieces report what they allocate themselves.
std::vector<kxString> roomFor(std::size_t count)
{
    std::vector<kxString> strings;
    try {
        strings.reserve(count);
    } catch (const std::bad_alloc&) {
        kxThrowBadAlloc(__FILE__, __LINE__);
    }
    return strings;
}

char* copyTo(char* to, std::string_view text) noexcept
{
    return std::copy(text.begin(), text.end(), to);
}

}  // namespace

kxString kxString::lowerCase() const
{
    return built(length_, [this](char* to) { std::transform(begin(), end(), to, kxAsciiLower); });
}

kxString kxString::upperCase() const
{
    return built(length_, [this](char* to) { std::transform(begin(), end(), to, raised); });
}

bool kxString::equalsIgnoreCase(std::string_view other) const noexcept
{
    return kxEqualsIgnoreCase(view(), other);
}

std::uint32_t kxString::find(char character, std::size_t from) const noexcept
{
    return indexOf(view().find(character, from));
}

std::uint32_t kxString::find(std::string_view part, std::size_t from) const noexcept
{
    return indexOf(view().find(part, from));
}

std::uint32_t kxString::findLast(char character, std::size_t from) const noexcept
{
    return indexOf(view().rfind(character, from));
}

std::uint32_t kxString::findLast(std::string_view part, std::size_t from) const noexcept
{
    return indexOf(view().rfind(part, from));
}

kxString kxString::trimmedLeft() const
{
    const std::size_t first = view().find_first_not_of(KX_WHITE_SPACE);
    return first == 0 ? *this : kxString(view().substr(std::min<std::size_t>(first, length_)));
}

kxString kxString::trimmedRight() const
{
    const std::size_t kept =
        view().find_last_not_of(KX_WHITE_SPACE) + 1;  // the sum is 0 when only blanks are there
    return kept == length_ ? *this : kxString(view().substr(0, kept));
}

kxString kxString::trimmed() const
{
    const std::size_t kept = view().find_last_not_of(KX_WHITE_SPACE) + 1;
    const std::string_view left = view().substr(0, kept);
    const std::size_t first = std::min(left.find_first_not_of(KX_WHITE_SPACE), kept);
    return first == 0 && kept == length_ ? *this : kxString(left.substr(first));
}

kxString kxString::replaced(std::string_view what, std::string_view with) const
{
    const std::uint64_t matches = countMatches(view(), what);
    if (matches == 0) return *this;
    const std::uint64_t length = length_ - matches * what.size() + matches * std::uint64_t{with.size()};
    requireLength(length);
    return built(static_cast<std::size_t>(length), [&](char* to) {
        std::string_view left = view();
        for (std::size_t at = left.find(what); at != std::string_view::npos; at = left.find(what)) {
            to = copyTo(copyTo(to, left.substr(0, at)), with);
            left.remove_prefix(at + what.size());
        }
        copyTo(to, left);
    });
}

std::vector<kxString> kxString::split(std::string_view separator) const
{
    std::vector<kxString> pieces = roomFor(countMatches(view(), separator) + 1);
    std::string_view left = view();
    while (!separator.empty()) {
        const std::size_t at = left.find(separator);
        if (at == std::string_view::npos) break;
        pieces.emplace_back(left.substr(0, at));
        left.remove_prefix(at + separator.size());
    }
    pieces.emplace_back(left);
    return pieces;
}
