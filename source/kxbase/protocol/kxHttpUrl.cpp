#include "kxbase/protocol/kxHttpUrl.h"

#include "kxbase/core/kxAsciiCase.h"
#include "kxbase/net/kxUrlPlace.h"
#include "kxbase/platform/kxPlatformEnvironment.h"

#include <algorithm>
#include <optional>

namespace {

constexpr const char* kProxyVariable = "KORVEX_HTTP_PROXY";

// What would end a word or a line of a request.
bool isForbidden(char letter)
{
    const auto code = static_cast<std::uint8_t>(letter);
    return code <= 0x20 || code == 0x7F;
}

// Of a host: what divides a URL, and what has no place in one at all (RFC 3986 2.2, 3.2.2).
bool isForbiddenInHost(char letter)
{
    constexpr std::string_view kMarks = "\"#/:<>?@[\\]^`{|}";
    return isForbidden(letter) || kMarks.find(letter) != std::string_view::npos;
}

// Cuts the user's name off the front of "[user@]host[:port]".
std::optional<std::string_view> takeUser(std::string_view& hostPart)
{
    const std::size_t at = hostPart.rfind('@');
    if (at == std::string_view::npos) return {};
    const std::string_view user = hostPart.substr(0, at);
    hostPart.remove_prefix(at + 1);
    return user;
}

// A colon without a number behind it is no port (RFC 3986 3.2.3).
kxNetUrl hostAndPort(std::string_view text, std::uint16_t defaultPort)
{
    kxNetUrl place(text, defaultPort);
    if (text.ends_with(':')) place.port = defaultPort;
    return place;
}

kxString proxyText(const kxUrlOptions& options)
{
    if (options.getBool("no_proxy", false)) return {};
    if (options.has("proxy")) return kxString(options.getText("proxy"));
    return kxString(kxPlatformEnvironment(kProxyVariable));
}

kxNetUrl proxyOf(std::string_view text)
{
    constexpr std::string_view kScheme = "http:";
    const std::string_view behind = text.substr(std::min(kScheme.size(), text.size()));
    const bool hasScheme =
        kxEqualsIgnoreCase(text.substr(0, kScheme.size()), kScheme) && behind.find_first_of("/\\") == 0;
    std::string_view hostPart = kxUrlPlace(hasScheme ? behind : text).hostPart;
    takeUser(hostPart);
    return hostAndPort(hostPart, kxHttpUrl::kDefaultProxyPort);
}

kxString withSlashes(std::string_view text)
{
    std::string path(text);
    std::replace(path.begin(), path.end(), '\\', '/');
    return kxString(path);
}

}  // namespace

kxHttpUrl::kxHttpUrl(const kxString& url) : origin({}, kDefaultPort), proxy({}, kDefaultProxyPort)
{
    const kxUrlPlace place(url.view());
    std::string_view hostPart = place.hostPart;
    if (const auto user = takeUser(hostPart)) userName = kxString(*user);
    origin = hostAndPort(hostPart, kDefaultPort);
    origin.options = kxString(place.options);
    path = withSlashes(place.rest);
    const kxString text = proxyText(origin.lookup());
    hasProxy = !text.isEmpty();
    proxy = proxyOf(text.view());
}

bool kxHttpUrl::hasUsableHost() const
{
    const std::string_view host = origin.host.view();
    return !host.empty() && host.size() <= kLongestHostBytes && origin.port != 0 &&
           std::none_of(host.begin(), host.end(), isForbiddenInHost);
}

std::string kxHttpUrl::encodedPath() const
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char letter : path.view()) {
        if (!isForbidden(letter)) {
            encoded += letter;
            continue;
        }
        const auto code = static_cast<std::uint8_t>(letter);
        encoded.append({'%', kDigits[code >> 4], kDigits[code & 15]});
    }
    return encoded;
}
