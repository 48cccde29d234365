#include "kxbase/protocol/kxHttpConnection.h"

#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/net/kxNetwork.h"
#include "kxbase/serialize/kxAdapterMessage.h"

namespace {

constexpr std::uint32_t kReceiveBufferBytes = 1000000;
constexpr std::uint32_t kConnectPauseMilliseconds = 20;

// Null, or the text of what is wrong with the URL.
const char* chooseDestination(kxHttpUrl& url, kxSocketAddress& destination)
{
    if (url.hasProxy) destination = kxSocketAddress(url.proxy.host, url.proxy.port);
    const bool isProxyUnknown = url.hasProxy && destination.isEmpty();
    if (url.hasUsableHost()) {
        if (!destination.isEmpty()) return url.proxy.port != 0 ? nullptr : "Port of the proxy is not valid";
        destination = kxSocketAddress(url.origin.host, url.origin.port);
    } else {
        destination.clear();
    }
    if (destination.isEmpty())
        return isProxyUnknown ? "Host name in URL is not valid and proxy is not valid"
                              : "Host name in URL is not valid";
    if (isProxyUnknown) {
        kxAdapterMessage(KX_MESSAGE_WARNING, "HTTP proxy '%s' is not valid and is left out", url.proxy.host);
        url.hasProxy = false;
    }
    return nullptr;
}

}  // namespace

kxString kxHttpConnection::open(kxHttpUrl& url, const kxString& interfaceText, double timeoutSeconds)
{
    close();
    host_ = url.origin.host;
    kxSocketAddress destination;
    if (const char* const fault = chooseDestination(url, destination)) return kxTranslate(fault);
    if (connect(destination, interfaceText, timeoutSeconds)) return {};
    const kxString text = errorText();
    close();
    return text;
}

bool kxHttpConnection::connect(const kxSocketAddress& destination, const kxString& interfaceText,
                               double timeoutSeconds)
{
    if (!socket_.create(KX_SOCKET_IPV4, KX_SOCKET_STREAM)) return false;
    socket_.trySetOption(KX_SOCKET_RECEIVE_BUFFER, kReceiveBufferBytes);
    socket_.setBlocking(false);
    socket_.setDetectClose(true);
    // An interface that nobody knows is no address, which is any.
    const kxHostAddress chosen =
        interfaceText.isEmpty() ? kxHostAddress::none() : kxNetwork::interfaceAddress(interfaceText);
    return socket_.bind(kxSocketAddress(chosen, 0)) && finishConnecting(destination, timeoutSeconds);
}

bool kxHttpConnection::finishConnecting(const kxSocketAddress& destination, double timeoutSeconds)
{
    const double end = kxClock::seconds() + timeoutSeconds;
    while (!socket_.connect(destination)) {
        if (socket_.error() != KX_SOCKET_OK) return false;
        if (kxClock::seconds() >= end) return socket_.record(KX_SOCKET_TIMED_OUT);
        socket_.waitForRoom(kConnectPauseMilliseconds);
    }
    return true;
}

std::int64_t kxHttpConnection::receive(void* bytes, std::uint32_t count)
{
    const std::int64_t got = socket_.receive(bytes, count);
    if (got > 0) return got;
    return got < 0 && socket_.error() == KX_SOCKET_OK ? 0 : -1;
}

// Whoever looks first uses up a failure of the system; then the stream seems to end.
bool kxHttpConnection::hasFailed() const
{
    return socket_.error() != KX_SOCKET_OK && socket_.error() != KX_SOCKET_CLOSED_BY_PEER;
}

kxString kxHttpConnection::errorText() const
{
    return kxString::format("%s (%s)", kxTranslate(socket_.errorText()), host_);
}
