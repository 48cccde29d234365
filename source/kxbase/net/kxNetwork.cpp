#include "kxbase/net/kxNetwork.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/core/kxQuietGuard.h"
#include "kxbase/platform/kxPlatformInterfaces.h"
#include "kxbase/platform/kxPlatformResolver.h"
#include "kxbase/platform/kxPlatformSocket.h"
#include "kxbase/serialize/kxAdapterMessage.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace {

constexpr std::uint32_t kHostNameBytes = 512;
constexpr std::uint32_t kMostAddresses = 64;
constexpr std::uint32_t kMostInterfaces = 256;
constexpr std::uint32_t kOtherLocalHost = 0x7F000101;     // 127.0.1.1
constexpr std::uint32_t kLoopbackBroadcast = 0x7FFFFFFF;  // 127.255.255.255
constexpr std::uint32_t kLimitedBroadcast = 0xFFFFFFFF;   // 255.255.255.255
constexpr std::uint32_t kSelfGivenNetwork = 169;

// Found out once, never destroyed. Guarded by the mutexes below, of which the second is for the addresses.
struct Host {
    bool isStarted = false;
    char name[kHostNameBytes] = {};
    std::optional<std::vector<std::uint32_t>> addresses;
    std::optional<std::uint32_t> local;
};

Host& host()
{
    static Host& instance = *new Host;
    return instance;
}

kxMutex& startMutex()
{
    return kxProcessMutex<struct kxNetworkStart>();
}

kxMutex& addressMutex()
{
    return kxProcessMutex<struct kxNetworkAddresses>();
}

std::vector<kxPlatformInterface> interfacesThatAreUp()
{
    std::vector<kxPlatformInterface> interfaces(kMostInterfaces);
    interfaces.resize(kxPlatformInterfaces(interfaces.data(), kMostInterfaces));
    std::erase_if(interfaces, [](const auto& entry) { return !entry.isUp; });
    return interfaces;
}

std::optional<std::uint32_t> numericAddressOf(std::string_view text)
{
    std::uint32_t address = 0;
    for (int place = 0; place < 4; ++place) {
        const std::size_t end = place < 3 ? text.find('.') : text.size();
        if (end == std::string_view::npos) return {};
        const auto octet = kxNetwork::octetOf(text.substr(0, end));
        if (!octet) return {};
        address = address << 8 | *octet;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return address;
}

kxArray<std::uint32_t> askResolver(const char* name)
{
    std::uint32_t found[kMostAddresses];
    return {found, kxPlatformResolve(name, found, kMostAddresses)};
}

kxArray<std::uint32_t> arrayOf(const std::vector<std::uint32_t>& numbers)
{
    return {numbers.data(), static_cast<std::uint32_t>(numbers.size())};
}

void addNew(kxArray<std::uint32_t>& addresses, std::uint32_t address)
{
    if (std::find(addresses.begin(), addresses.end(), address) == addresses.end()) addresses.append(address);
}

}  // namespace

void kxNetwork::start()
{
    Host& own = host();
    bool hasFailed = false;
    bool hasName = true;
    {
        const kxBodyGuard guard(startMutex());
        if (own.isStarted) return;
        hasFailed = kxPlatformSocketStart() != KX_SOCKET_OK;
        own.isStarted = !hasFailed;
        if (!hasFailed) hasName = kxPlatformHostName(own.name, kHostNameBytes);
        if (!hasName) own.name[0] = '\0';
    }
    if (hasFailed) kxRaiseFatal("Network initialisation error");
    if (!hasName) kxAdapterMessage(KX_MESSAGE_DEBUG, "Host name not found");
}

kxString kxNetwork::hostName()
{
    start();
    return kxString(host().name);
}

kxArray<std::uint32_t> kxNetwork::hostAddresses()
{
    const kxString name = hostName();
    {
        const kxQuietGuard guard(addressMutex());
        if (host().addresses) return arrayOf(*host().addresses);
    }
    // Asking may take long, so several threads may do it; the first answer counts.
    kxArray<std::uint32_t> found = name.isEmpty() ? kxArray<std::uint32_t>() : resolve(name);
    for (const kxPlatformInterface& entry : interfacesThatAreUp()) addNew(found, entry.address);
    const kxQuietGuard guard(addressMutex());
    if (!host().addresses) host().addresses.emplace(found.begin(), found.end());
    return arrayOf(*host().addresses);
}

std::uint32_t kxNetwork::localAddress()
{
    {
        const kxBodyGuard guard(addressMutex());
        if (host().local) return *host().local;
    }
    const kxArray<std::uint32_t> addresses = hostAddresses();
    const bool isKnown = !hostName().isEmpty() && !addresses.isEmpty();
    const std::uint32_t choice = chooseLocal(addresses);
    bool isFirst = false;
    std::uint32_t local = 0;
    {
        const kxBodyGuard guard(addressMutex());
        Host& own = host();
        isFirst = !own.local;
        if (isFirst) own.local = !isKnown ? 0 : choice != 0 ? choice : kxNetwork::kLocalHost;
        local = *own.local;
    }
    if (isFirst && isKnown && choice == 0) {
        kxAdapterMessage(KX_MESSAGE_INTERNAL_WARNING, "Local Host interface only resolved to 127.0.0.1");
    }
    return local;
}

std::uint32_t kxNetwork::chooseLocal(const kxArray<std::uint32_t>& addresses)
{
    std::uint32_t choice = 0;
    for (const std::uint32_t address : addresses) {
        if (address == kxNetwork::kLocalHost || address == kOtherLocalHost) continue;
        if (address >> 24 != kSelfGivenNetwork) return address;
        if (choice == 0) choice = address;
    }
    return choice;
}

kxArray<std::uint32_t> kxNetwork::resolve(const kxString& name)
{
    if (const auto address = numericAddressOf(name.view())) return {&*address, 1};
    start();
    kxArray<std::uint32_t> found;
    // The resolver would read a name with a zero byte in it as another name.
    if (!name.isEmpty() && name.find('\0') == KX_STRING_NOT_FOUND) found = askResolver(name.text());
    if (found.isEmpty()) kxAdapterMessage(KX_MESSAGE_DEBUG, "Host '%s' not found", name);
    return found;
}

kxHostAddress kxNetwork::interfaceAddress(const kxString& text)
{
    if (const auto address = numericAddressOf(text.view())) return kxHostAddress(*address);
    for (const kxPlatformInterface& entry : interfacesThatAreUp()) {
        if (text == entry.name && entry.address != 0) return kxHostAddress(entry.address);
    }
    kxHostAddress named(text);
    if (!named.isValid()) {
        kxAdapterMessage(KX_MESSAGE_INTERNAL_WARNING, "Network interface '%s' not found", text);
    }
    return named;
}

std::uint32_t kxNetwork::broadcastAddress(std::uint32_t boundAddress)
{
    for (const kxPlatformInterface& entry : interfacesThatAreUp()) {
        if (entry.isLoopback || entry.broadcast == 0) continue;
        if (boundAddress == 0 || boundAddress == entry.address) return entry.broadcast;
    }
    return isLoopback(boundAddress) ? kLoopbackBroadcast : kLimitedBroadcast;
}

kxArray<std::uint32_t> kxNetwork::interfaceAddresses()
{
    kxArray<std::uint32_t> addresses;
    for (const kxPlatformInterface& entry : interfacesThatAreUp()) addresses.append(entry.address);
    return addresses;
}

std::optional<std::uint32_t> kxNetwork::octetOf(std::string_view text)
{
    if (text.empty() || text.size() > 3) return {};
    std::uint32_t number = 0;
    for (const char letter : text) {
        if (letter < '0' || letter > '9') return {};
        number = number * 10 + static_cast<std::uint32_t>(letter - '0');
    }
    return number <= 255 ? std::optional(number) : std::nullopt;
}
