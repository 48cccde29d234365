#include "kxbase/net/kxNetUrl.h"

#include "kxbase/net/kxUrlPlace.h"
#include "kxbase/platform/kxPlatformEnvironment.h"

#include <algorithm>

namespace {

constexpr const char* kInterfaceVariable = "KORVEX_HTTP_NIC";
constexpr std::uint32_t kLargestPort = 65535;

}  // namespace

kxNetUrl::kxNetUrl(std::string_view hostPart, std::uint16_t defaultPort) : port(defaultPort)
{
    if (const std::size_t colon = hostPart.rfind(':'); colon != std::string_view::npos)
        port = portOf(hostPart.substr(colon + 1));
    host = kxString(hostPart.substr(0, hostPart.find(':')));
}

kxNetUrl::kxNetUrl(const kxString& url) : kxNetUrl(kxUrlPlace(url.view()).hostPart, kDefaultPort)
{
    options = kxString(kxUrlPlace(url.view()).options);
}

std::uint16_t kxNetUrl::portOf(std::string_view text)
{
    std::uint32_t port = 0;
    for (const char letter : text) {
        if (letter < '0' || letter > '9') return 0;
        port = std::min(port * 10 + static_cast<std::uint32_t>(letter - '0'), kLargestPort + 1);
    }
    return port <= kLargestPort ? static_cast<std::uint16_t>(port) : std::uint16_t{0};
}

kxString kxNetUrl::interfaceText(const kxString& given) const
{
    if (lookup().getBool("no_nic", false)) return {};
    if (!given.isEmpty()) return given;
    if (lookup().has("nic")) return kxString(lookup().getText("nic"));
    return kxString(kxPlatformEnvironment(kInterfaceVariable));
}
