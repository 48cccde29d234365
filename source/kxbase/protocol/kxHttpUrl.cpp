#include "kxbase/protocol/kxHttpUrl.h"

#include "kxbase/net/kxUrlPlace.h"
#include "kxbase/platform/kxPlatformEnvironment.h"

#include <algorithm>

namespace {

constexpr const char* kProxyVariable = "KORVEX_HTTP_PROXY";

// What would end a word or a line of a request.
bool isForbidden(char letter)
{
    const auto code = static_cast<std::uint8_t>(letter);
    return code <= 0x20 || code == 0x7F;
}

// The end of "[user@]host[:port]" behind the user's name.
std::string_view behindUser(std::string_view hostPart)
{
    const std::size_t at = hostPart.rfind('@');
    return at != std::string_view::npos ? hostPart.substr(at + 1) : hostPart;
}

kxString proxyText(const kxUrlOptions& options)
{
    if (options.getBool("no_proxy", false)) return {};
    if (options.has("proxy")) return kxString(options.getText("proxy"));
    return kxString(kxPlatformEnvironment(kProxyVariable));
}

kxNetUrl proxyOf(std::string_view text)
{
    constexpr std::string_view kScheme = "http://";
    if (text.starts_with(kScheme)) text.remove_prefix(kScheme.size());
    return {behindUser(text.substr(0, text.find('/'))), kxHttpUrl::kDefaultProxyPort};
}

kxString withSlashes(std::string_view text)
{
    std::string path(text);
    std::replace(path.begin(), path.end(), '\\', '/');
    return kxString(path);
}

}  // namespace

kxHttpUrl::kxHttpUrl(const kxString& url)
    : origin(behindUser(kxUrlPlace(url.view()).hostPart), kDefaultPort), proxy({}, kDefaultProxyPort)
{
    const kxUrlPlace place(url.view());
    if (const std::size_t at = place.hostPart.rfind('@'); at != std::string_view::npos)
        userName = kxString(place.hostPart.substr(0, at));
    path = withSlashes(place.rest);
    origin.options = kxString(place.options);
    proxy = proxyOf(proxyText(origin.lookup()).view());
}

bool kxHttpUrl::hasUsableHost() const
{
    const std::string_view host = origin.host.view();
    return !host.empty() && host.size() <= kLongestHostBytes && origin.port != 0 &&
           std::none_of(host.begin(), host.end(), isForbidden);
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
