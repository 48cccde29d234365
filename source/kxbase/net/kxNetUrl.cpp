#include "kxbase/net/kxNetUrl.h"

#include "kxbase/platform/kxPlatformEnvironment.h"

#include <algorithm>

namespace {

constexpr const char* kInterfaceVariable = "KORVEX_HTTP_NIC";
constexpr std::uint32_t kLargestPort = 65535;

}  // namespace

kxNetUrl::kxNetUrl(const kxString& url)
{
    std::string_view place = url.view();
    if (const std::size_t question = place.rfind('?'); question != std::string_view::npos) {
        options = kxString(place.substr(question + 1));
        place = place.substr(0, question);
    }
    constexpr std::string_view kSlashes = "//";
    if (place.starts_with(kSlashes)) place.remove_prefix(kSlashes.size());
    place = place.substr(0, place.find_first_of("/\\"));
    if (const std::size_t colon = place.rfind(':'); colon != std::string_view::npos) {
        port = portOf(place.substr(colon + 1));
        place = place.substr(0, place.find(':'));
    }
    host = kxString(place);
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
