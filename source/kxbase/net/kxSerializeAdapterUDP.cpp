#include "kxbase/net/kxSerializeAdapterUDP.h"

#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxQuietGuard.h"
#include "kxbase/net/kxNetwork.h"
#include "kxbase/object/kxTypeTable.h"

#include <algorithm>
#include <optional>

namespace {

constexpr std::uint32_t kMostDatagramBytes = 1472;
constexpr std::uint32_t kMostDatagramsAtOnce = 1024;
constexpr std::uint32_t kSendBufferBytes = 500000;
constexpr std::uint32_t kReceiveBufferBytes = 500000;
// The system counts a datagram in its receive buffer with all the memory that it takes up: for 1000 bytes about 2300,
// for 64 bytes 770. So much is wished for that kReceiveBufferBytes of small datagrams have room; the system cuts it to
// its limit, on Linux net.core.rmem_max, without a word.
constexpr std::uint32_t kWishedReceiveBufferBytes = 8 * kReceiveBufferBytes;
constexpr double kSendSeconds = 1.0;
constexpr std::uint32_t kSendWaitMilliseconds = 100;
constexpr std::int64_t kLargestPort = 65535;
constexpr std::int64_t kDefaultTtl = 32;
constexpr std::uint64_t kTtlTooLarge = 256;  // stands for whatever does not fit its byte

}  // namespace

kxSerializeAdapterUDP::kxSerializeAdapterUDP(const kxString& url, kxString* errorOut)
{
    if (url.isEmpty()) return;
    if (!open(url) && errorOut != nullptr) {
        *errorOut = kxErrorText("Failed to open UDP url '%s'", url);
    }
    const kxQuietGuard guard(lock_);
    receivePending();
}

kxSerializeAdapterUDP::~kxSerializeAdapterUDP() noexcept(false) = default;

const kxType& kxSerializeAdapterUDP::getType() const
{
    return kxTypeTable::find("kxSerializeAdapterUDP");
}

kxUdpMode kxSerializeAdapterUDP::modeOf(const kxString& host)
{
    const std::string_view text = host.view();
    const std::size_t dot = text.find('.');
    if (dot == std::string_view::npos) return text.empty() ? KX_UDP_BROADCAST : KX_UDP_UNICAST;
    const std::uint32_t first = kxNetwork::octetOf(text.substr(0, dot)).value_or(0);
    if (first >= 224 && first <= 239) return KX_UDP_MULTICAST;
    const std::uint32_t last = kxNetwork::octetOf(text.substr(text.rfind('.') + 1)).value_or(0);
    return last == 255 ? KX_UDP_BROADCAST : KX_UDP_UNICAST;
}

bool kxSerializeAdapterUDP::open(const kxString& url)
{
    const kxNetUrl parts(url);
    readOptions(parts);
    if (port_ < 1 || port_ > kLargestPort)
        return fail("Failed to bind UDP receive socket to port '%d'", port_);
    aim(parts);
    return openSending() && openReceiving();
}

void kxSerializeAdapterUDP::readOptions(const kxNetUrl& url)
{
    const kxUrlOptions options = url.lookup();
    setWaiting(options.getBool("blocking", isBlocking()), options.getNumber("timeout", getTimeout()));
    ttl_ = options.getInteger("ttl", kDefaultTtl);
    echoes_ = options.getBool("echo", false);
    port_ = options.getInteger("port", url.port);
    interfaceText_ = kxString(options.getText("nic"));
    if (!interfaceText_.isEmpty()) interface_ = kxNetwork::interfaceAddress(interfaceText_);
}

void kxSerializeAdapterUDP::aim(const kxNetUrl& url)
{
    const auto port = static_cast<std::uint16_t>(port_);
    mode_ = modeOf(url.host);
    destination_ = url.host.isEmpty() ? kxSocketAddress(port) : kxSocketAddress(url.host, port);
}

bool kxSerializeAdapterUDP::openSending()
{
    if (!sendSocket_.create(KX_SOCKET_IPV4, KX_SOCKET_DATAGRAM) || !sendSocket_.setBlocking(false)) {
        return fail("Failed to create UDP send socket");
    }
    if (!bindSending()) return false;
    if (!sendSocket_.setOption(KX_SOCKET_SEND_BUFFER, kSendBufferBytes)) {
        return fail("Failed to set send buffer size %d", kSendBufferBytes);
    }
    return aimSending();
}

bool kxSerializeAdapterUDP::bindSending()
{
    if (interface_.isValid()) {
        if (!sendSocket_.bind(kxSocketAddress(interface_, 0))) {
            return fail("Failed to bind UDP send socket to interface '%s'", interfaceText_);
        }
    } else if (!sendSocket_.bind(kxSocketAddress(0))) {
        return fail("Failed to bind UDP send socket");
    }
    ownAddress_ = sendSocket_.localAddress();
    if (ownAddress_.hostValue() == 0) {
        ownAddress_ = kxSocketAddress(kxHostAddress(), ownAddress_.port());
        ownHosts_ = kxNetwork::interfaceAddresses();
    }
    ownHost_ = ownAddress_.hostValue();
    return true;
}

bool kxSerializeAdapterUDP::aimSending()
{
    if (mode_ == KX_UDP_BROADCAST) {
        const kxHostAddress everybody(kxNetwork::broadcastAddress(sendSocket_.localAddress().hostValue()));
        destination_ = kxSocketAddress(everybody, static_cast<std::uint16_t>(port_));
        if (!sendSocket_.setOption(KX_SOCKET_BROADCAST, 1)) {
            return fail("Failed to enable BROADCAST on UDP socket");
        }
    }
    if (mode_ == KX_UDP_MULTICAST) {
        // A socket that is bound to loopback leaves by it when the system chooses, and by no other interface.
        const std::uint32_t leaving = kxNetwork::isLoopback(ownHost_) ? 0 : ownHost_;
        if (!sendSocket_.setOption(KX_SOCKET_MULTICAST_INTERFACE, leaving)) {
            return fail("Failed to set MULTICAST interface '%s'", ownAddress_.host().text());
        }
        const auto ttl = std::min<std::uint64_t>(static_cast<std::uint64_t>(ttl_), kTtlTooLarge);
        if (!sendSocket_.setOption(KX_SOCKET_MULTICAST_TTL, static_cast<std::uint32_t>(ttl))) {
            return fail("Failed to set TTL '%d' on MULTICAST socket", ttl_);
        }
    }
    return true;
}

bool kxSerializeAdapterUDP::openReceiving()
{
    if (!receiveSocket_.create(KX_SOCKET_IPV4, KX_SOCKET_DATAGRAM) || !receiveSocket_.setBlocking(false)) {
        return fail("Failed to create UDP receive socket");
    }
    if (!receiveSocket_.setOption(KX_SOCKET_REUSE_ADDRESS, 1)) {
        return fail("Failed to enable Port/Addr reuse on UDP socket");
    }
    if (!receiveSocket_.bind(kxSocketAddress(static_cast<std::uint16_t>(port_)))) {
        return fail("Failed to bind UDP receive socket to port '%d'", port_);
    }
    if (!receiveSocket_.setOption(KX_SOCKET_RECEIVE_BUFFER, kReceiveBufferBytes)) {
        return fail("Failed to set receive buffer size %d", kReceiveBufferBytes);
    }
    receiveSocket_.trySetOption(KX_SOCKET_RECEIVE_BUFFER, kWishedReceiveBufferBytes);
    return mode_ != KX_UDP_MULTICAST || joinGroup();
}

bool kxSerializeAdapterUDP::joinGroup()
{
    const std::uint32_t group = destination_.hostValue();
    const std::uint32_t arriving = interface_.value();
    if (arriving != 0 && !receiveSocket_.setOption(KX_SOCKET_MULTICAST_INTERFACE, arriving)) {
        return fail("Failed to set MULTICAST interface '%s'", interfaceText_);
    }
    if (!receiveSocket_.setOption(KX_SOCKET_JOIN_GROUP, group)) {
        return fail("Failed to join MULTICAST address '%s'", destination_.host().text());
    }
    // Loopback brings what is sent from loopback; all else comes by the system's choice, where there is one.
    if (kxNetwork::isLoopback(arriving)) receiveSocket_.trySetOption(KX_SOCKET_JOIN_GROUP, group);
    return true;
}

bool kxSerializeAdapterUDP::isActive()
{
    const kxQuietGuard guard(lock_);
    return isReceiving();
}

bool kxSerializeAdapterUDP::isReceiving()
{
    return receiveSocket_.isActive();
}

kxPlatformSocketHandle kxSerializeAdapterUDP::receivingSocket() const
{
    return receiveSocket_.error() == KX_SOCKET_OK ? receiveSocket_.descriptor() : KX_PLATFORM_NO_SOCKET;
}

void kxSerializeAdapterUDP::closeReceiving()
{
    const kxQuietGuard guard(lock_);
    receiveSocket_.close(false);
}

kxSocketAddress kxSerializeAdapterUDP::getLastSender()
{
    const kxQuietGuard guard(lock_);
    return lastSender_;
}

std::uint64_t kxSerializeAdapterUDP::getEmptyDatagrams()
{
    const kxQuietGuard guard(lock_);
    return emptyDatagrams_;
}

std::uint32_t kxSerializeAdapterUDP::look()
{
    receivePending();
    return queue_.length();
}

void kxSerializeAdapterUDP::receivePending()
{
    if (!receiveSocket_.isActive()) return;
    for (std::uint32_t count = 0; count < kMostDatagramsAtOnce && !queue_.isFull(); ++count) {
        const std::uint32_t pending = receiveSocket_.bytesAvailable();
        if (pending != 0) {
            if (!receiveOne(pending)) return;
        } else if (queue_.isEmpty() && receiveSocket_.dropEmptyDatagram()) {
            ++emptyDatagrams_;  // all others waited behind it
        } else {
            return;
        }
    }
}

bool kxSerializeAdapterUDP::receiveOne(std::uint32_t sizeBytes)
{
    const kxRefPointer<kxNetData> record = queue_.newRecord();
    std::uint8_t* const room = record->prepare(sizeBytes);
    const std::int64_t got = receiveSocket_.receiveFrom(record->sender, room, record->capacity());
    if (got > 0) {
        lastSender_ = record->sender;
        record->commit(static_cast<std::uint32_t>(got));
    }
    if (got > 0 && (echoes_ || !isOwn(record->sender)))
        queue_.append(record);
    else
        queue_.giveBack(record);
    return got > 0;
}

bool kxSerializeAdapterUDP::isOwn(const kxSocketAddress& sender) const
{
    if (sender.port() != ownAddress_.port()) return false;
    const std::uint32_t host = sender.hostValue();
    return host == ownHost_ || host == kxNetwork::kLocalHost ||
           std::find(ownHosts_.begin(), ownHosts_.end(), host) != ownHosts_.end();
}

void kxSerializeAdapterUDP::writeBlock(const void* bytes, std::uint32_t count)
{
    const auto* begin = static_cast<const std::uint8_t*>(bytes);
    noteWritten();
    while (count != 0) {
        const std::int64_t sent = sendOne(begin, std::min(count, kMostDatagramBytes));
        if (sent < 0 && !sendingHasFailed_.exchange(true)) couldNotSend(destination_, getSendError());
        if (sent <= 0) return;
        begin += sent;
        count -= static_cast<std::uint32_t>(sent);
    }
}

std::int64_t kxSerializeAdapterUDP::sendOne(const std::uint8_t* bytes, std::uint32_t count)
{
    std::optional<double> end;  // of the patience with a full network
    for (;;) {
        kxPlatformSocketHandle socket = KX_PLATFORM_NO_SOCKET;
        {
            const kxQuietGuard guard(lock_);
            kxPlatformSocketResult sent = sendSocket_.trySendTo(destination_, bytes, count);
            if (sent.error == KX_SOCKET_WOULD_BLOCK) {
                const double now = kxClock::seconds();
                if (!end) end = now + kSendSeconds;
                if (now >= *end) sent.error = KX_SOCKET_TIMED_OUT;
            }
            if (sent.error != KX_SOCKET_WOULD_BLOCK) {
                sendSocket_.record(sent.error);
                return sent.count;
            }
            socket = sendSocket_.descriptor();
        }
        kxPlatformSocketWait(socket, KX_SOCKET_CAN_WRITE, kSendWaitMilliseconds);
    }
}
