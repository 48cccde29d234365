#include "kxbase/net/kxSocket.h"

#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/net/kxNetwork.h"
#include "kxbase/object/kxTypeTable.h"
#include "kxbase/platform/kxPlatformWait.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr std::uint32_t kReceiveBufferBytes = 1000;
constexpr std::uint32_t kLargestBacklog = 0x7FFFFFFF;
constexpr double kGracefulSeconds = 2.0;
constexpr std::uint32_t kGracefulPauseMilliseconds = 10;
constexpr std::uint32_t kMostReceivedInATick = 100;

constexpr const char* kUnknownText = "kxSocket error: Unknown socket error";
// By code.
constexpr const char* kErrorTexts[] = {
    "kxSocket error: Operation aborted",
    kUnknownText,
    kUnknownText,
    "kxSocket error: Protocol family is not supported",
    "kxSocket error: Address family is not supported",
    "kxSocket error: Permission denied",
    "kxSocket error: Protocol not supported in domain",
    kUnknownText,
    kUnknownText,
    kUnknownText,
    "kxSocket error: Socket not configured or active",
    "kxSocket error: Host not reachable",
    "kxSocket error: Network not reachable",
    "kxSocket error: Option unknown at the level indicated",
    "kxSocket error: Invalid descriptor",
    "kxSocket error: Invalid argument",
    "kxSocket error: Address already in use",
    "kxSocket error: Cannot assign requested address",
    "kxSocket error: Is already connected",
    "kxSocket error: Is not connected",
    "kxSocket error: Connection was reset",
    "kxSocket error: Connection was aborted",
    "kxSocket error: Connection was refused",
    "kxSocket error: Connection timed out",
    "kxSocket error: Operation would block",
    "kxSocket error: Message was truncated",
    "kxSocket error: Operation aborted",
    "kxSocket error: No such device",
};
static_assert(std::size(kErrorTexts) == KX_SOCKET_NO_DEVICE + 1, "one text for every code");

// Systems take 0.0.0.0 as this machine, which is never what an address that came to nothing is to mean.
bool isDestination(const kxSocketAddress& address)
{
    std::uint32_t host = 0;
    std::uint16_t port = 0;
    const bool isIPv4 = kxPlatformAddressRead(address.bytes().data(), address.bytes().size(), host, port);
    return isIPv4 ? host != 0 : !address.isEmpty();
}

}  // namespace

kxSocket::kxSocket() : receiveBuffer_(kReceiveBufferBytes)
{
    kxNetwork::start();
}

kxSocket::~kxSocket()
{
    close(false);
}

const kxType& kxSocket::getType() const
{
    return kxTypeTable::find("kxSocket");
}

const char* kxSocket::errorText(std::uint32_t code)
{
    return code < std::size(kErrorTexts) ? kErrorTexts[code] : kUnknownText;
}

// Only stores the code, also with throwing on: for failures that the system has no part in. What the system answers
// goes through record(), or counted() and sent() where it moved or counted something.
bool kxSocket::setErrorCode(kxSocketError code)
{
    error_.store(code, std::memory_order_relaxed);
    return false;
}

bool kxSocket::record(kxSocketError outcome)
{
    return outcome != KX_SOCKET_WOULD_BLOCK && recordAny(outcome);
}

bool kxSocket::recordAny(kxSocketError outcome)
{
    if (outcome == KX_SOCKET_OK) return true;
    setErrorCode(outcome);
    if (throwsOnError_) kxRaiseFatal(errorText(outcome));
    return false;
}

std::int64_t kxSocket::counted(const kxPlatformSocketResult& result)
{
    record(result.error);
    return result.count;
}

std::int64_t kxSocket::sent(const kxPlatformSocketResult& result)
{
    recordAny(result.error);
    return result.count;
}

bool kxSocket::create(kxSocketFamily family, kxSocketKind kind)
{
    close(true);
    localAddress_.clear();
    peerAddress_.clear();
    multicastInterface_ = 0;
    const bool isDatagram = kind == KX_SOCKET_DATAGRAM && family != KX_SOCKET_INFRARED;
    family_ = family;
    kind_ = isDatagram ? KX_SOCKET_DATAGRAM : KX_SOCKET_STREAM;
    const kxPlatformSocketOpened opened = kxPlatformSocketOpen(family, kind_);
    descriptor_ = opened.socket;
    return record(opened.error);
}

bool kxSocket::bind(const kxSocketAddress& address)
{
    localAddress_.clear();
    std::uint8_t any[KX_PLATFORM_LARGEST_ADDRESS_BYTES];
    const std::uint32_t anyBytes = kxPlatformAddressAny(family_, any);
    const kxArray<std::uint8_t>& bytes = address.bytes();
    const kxSocketError outcome = bytes.isEmpty()
                                      ? kxPlatformSocketBind(descriptor_, any, anyBytes)
                                      : kxPlatformSocketBind(descriptor_, bytes.data(), bytes.size());
    if (!record(outcome)) return false;
    std::uint8_t bound[KX_PLATFORM_LARGEST_ADDRESS_BYTES];
    localAddress_.setBytes(bound, kxPlatformSocketLocalAddress(descriptor_, bound));
    return true;
}

bool kxSocket::connect(const kxSocketAddress& address)
{
    peerAddress_.clear();
    if (!isDestination(address)) return setErrorCode(KX_SOCKET_ADDRESS_NOT_AVAILABLE);
    const bool goesOn = !attempted_.isEmpty();
    if (goesOn && attempted_ != address) return setErrorCode(KX_SOCKET_BAD_ARGUMENT);
    const kxSocketError outcome =
        goesOn ? kxPlatformSocketConnectResult(descriptor_)
               : kxPlatformSocketConnect(descriptor_, address.bytes().data(), address.bytes().size());
    attempted_ = outcome == KX_SOCKET_WOULD_BLOCK ? address : kxSocketAddress();
    if (!record(outcome)) return false;
    peerAddress_ = address;
    return true;
}

bool kxSocket::listen(std::uint32_t backlog)
{
    return record(kxPlatformSocketListen(descriptor_, backlog != 0 ? backlog : kLargestBacklog));
}

bool kxSocket::openBroadcast(std::uint16_t port)
{
    close(true);
    return create(KX_SOCKET_IPV4, KX_SOCKET_DATAGRAM) && setOption(KX_SOCKET_BROADCAST, 1) &&
           setOption(KX_SOCKET_REUSE_ADDRESS, 1) &&
           bind(port != 0 ? kxSocketAddress(port) : kxSocketAddress());
}

void kxSocket::shutDownSending()
{
    if (isOpen()) kxPlatformSocketShutDownSending(descriptor_);
}

bool kxSocket::close(bool graceful)
{
    bool hasEnded = true;
    if (isOpen()) {
        const bool isStream = kind_ == KX_SOCKET_STREAM;
        if (isStream && graceful && !peerAddress_.isEmpty()) hasEnded = awaitPeerClose(kGracefulSeconds);
        kxPlatformSocketShutDownSending(descriptor_);
        if (isStream) readAway(kxPlatformSocketPending(descriptor_).count);
        kxPlatformSocketShutDownReceiving(descriptor_);
        kxPlatformSocketClose(descriptor_);
    }
    reset();
    return hasEnded;
}

bool kxSocket::awaitPeerClose(double seconds)
{
    if (!isOpen()) return false;
    kxPlatformSocketShutDownSending(descriptor_);
    const double end = kxClock::seconds() + seconds;
    while (error() == KX_SOCKET_OK) {
        if (readUntilPeerCloses()) return true;
        if (kxClock::seconds() >= end) return setErrorCode(KX_SOCKET_TIMED_OUT);
    }
    return false;
}

// A look of 10 ms at most; answers whether the peer has closed. Codes are recorded as they stand: a close goes
// through, whatever happens on the way.
bool kxSocket::readUntilPeerCloses()
{
    const kxPlatformSocketResult ready =
        kxPlatformSocketWait(descriptor_, KX_SOCKET_CAN_READ, kGracefulPauseMilliseconds);
    const kxPlatformSocketResult pending = kxPlatformSocketPending(descriptor_);
    if (ready.count < 0 || pending.count < 0)
        return setErrorCode(ready.count < 0 ? ready.error : pending.error);
    readAway(pending.count);
    if (ready.count == 0 || pending.count != 0) return false;
    const kxPlatformSocketResult next = kxPlatformSocketPeek(descriptor_);
    if (next.count > 0 || next.error == KX_SOCKET_WOULD_BLOCK) return false;
    if (next.count < 0) return setErrorCode(next.error);
    if (detectsClose_) {
        setErrorCode(KX_SOCKET_CLOSED_BY_PEER);
        return true;
    }
    kxPlatformSleep(kGracefulPauseMilliseconds);
    return false;
}

void kxSocket::readAway(std::int64_t count)
{
    std::uint8_t away[16384];
    while (count > 0) {
        const auto wanted = static_cast<std::uint32_t>(std::min<std::int64_t>(count, sizeof(away)));
        const kxPlatformSocketResult got = kxPlatformSocketReceive(descriptor_, away, wanted);
        if (got.count <= 0) return;
        count -= got.count;
    }
}

void kxSocket::reset()
{
    descriptor_ = KX_PLATFORM_NO_SOCKET;
    attempted_.clear();
    hadBytesReady_ = false;
    error_.store(KX_SOCKET_OK, std::memory_order_relaxed);
}

std::int64_t kxSocket::receive(void* bytes, std::uint32_t count)
{
    return counted(kxPlatformSocketReceive(descriptor_, bytes, count));
}

std::int64_t kxSocket::receiveFrom(kxSocketAddress& sender, void* bytes, std::uint32_t count)
{
    std::uint8_t from[KX_PLATFORM_ADDRESS_BYTES];
    const std::int64_t received = counted(kxPlatformSocketReceiveFrom(descriptor_, from, bytes, count));
    if (received < 0) return received;
    if (std::all_of(std::begin(from), std::end(from), [](std::uint8_t byte) { return byte == 0; }))
        sender = peerAddress_;
    else
        sender.setBytes(from, sizeof(from));
    return received;
}

bool kxSocket::dropEmptyDatagram()
{
    if (kind_ != KX_SOCKET_DATAGRAM || !waitForData(0)) return false;
    const kxPlatformSocketResult pending = kxPlatformSocketPending(descriptor_);
    if (pending.count != 0) return false;  // it has only just come
    std::uint8_t nothing = 0;
    return receive(&nothing, 1) == 0;
}

bool kxSocket::tick()
{
    std::uint32_t posted = 0;
    while (isOpen() && posted < kMostReceivedInATick && postOne()) ++posted;
    if (posted != 0)
        deliver();
    else
        kxPlatformSleep(0);
    return posted != 0;
}

bool kxSocket::postOne()
{
    std::uint32_t pending = bytesAvailable();
    if (pending == 0 && dropEmptyDatagram()) pending = bytesAvailable();
    if (pending == 0) return false;
    const auto data = kxMakeRef<kxNetData>();
    const std::int64_t got = receiveFrom(data->sender, data->prepare(pending), pending);
    if (got < 1 || data->sender == localAddress_) return false;
    data->commit(static_cast<std::uint32_t>(got));
    post("kxNetData", 0, 0, this, data);
    return true;
}

std::int64_t kxSocket::send(const void* bytes, std::uint32_t count)
{
    return sent(trySend(bytes, count));
}

std::int64_t kxSocket::sendTo(const kxSocketAddress& destination, const void* bytes, std::uint32_t count)
{
    if (!isDestination(destination)) {
        setErrorCode(KX_SOCKET_ADDRESS_NOT_AVAILABLE);
        return -1;
    }
    return sent(trySendTo(destination, bytes, count));
}

kxPlatformSocketResult kxSocket::trySend(const void* bytes, std::uint32_t count) const
{
    return kxPlatformSocketSend(descriptor_, bytes, count);
}

kxPlatformSocketResult kxSocket::trySendTo(const kxSocketAddress& destination, const void* bytes,
                                           std::uint32_t count) const
{
    if (!isDestination(destination)) return {-1, KX_SOCKET_ADDRESS_NOT_AVAILABLE};
    const kxArray<std::uint8_t>& address = destination.bytes();
    return kxPlatformSocketSendTo(descriptor_, address.data(), address.size(), bytes, count);
}

std::uint32_t kxSocket::bytesAvailable()
{
    const std::int64_t pending = counted(kxPlatformSocketPending(descriptor_));
    return static_cast<std::uint32_t>(std::max<std::int64_t>(pending, 0));
}

bool kxSocket::isActive()
{
    std::uint32_t bytesReady = 0;
    return isActive(bytesReady);
}

bool kxSocket::isActive(std::uint32_t& bytesReady)
{
    bytesReady = 0;
    if (!isOpen() || error() != KX_SOCKET_OK) return false;
    if (kind_ == KX_SOCKET_DATAGRAM) return true;
    // While data flows one call is enough, and when nothing comes another one.
    if (hadBytesReady_) bytesReady = pendingBytes();
    if (bytesReady != 0) return true;
    const kxPlatformSocketResult ready = kxPlatformSocketWait(descriptor_, KX_SOCKET_CAN_READ, 0);
    if (ready.count < 0) return record(ready.error);
    if (ready.count == 0) return true;
    bytesReady = pendingBytes();
    return bytesReady != 0 || !detectsClose_ || !hasClosedPeer();
}

std::uint32_t kxSocket::pendingBytes()
{
    const std::int64_t count = kxPlatformSocketPending(descriptor_).count;
    hadBytesReady_ = count > 0;
    return static_cast<std::uint32_t>(std::max<std::int64_t>(count, 0));
}

// Of a stream that can be read but has nothing pending. Data may have come since, so a look decides.
bool kxSocket::hasClosedPeer()
{
    const kxPlatformSocketResult next = kxPlatformSocketPeek(descriptor_);
    if (next.count > 0 || next.error == KX_SOCKET_WOULD_BLOCK) return false;
    if (next.count == 0)
        setErrorCode(KX_SOCKET_CLOSED_BY_PEER);
    else
        record(next.error);
    return true;
}

bool kxSocket::waitForData(std::uint32_t milliseconds)
{
    return counted(kxPlatformSocketWait(descriptor_, KX_SOCKET_CAN_READ, milliseconds)) > 0;
}

bool kxSocket::waitForRoom(std::uint32_t milliseconds)
{
    return counted(kxPlatformSocketWait(descriptor_, KX_SOCKET_CAN_WRITE, milliseconds)) > 0;
}

bool kxSocket::setOption(std::uint32_t option, std::uint32_t value)
{
    if (!isOpen()) return setErrorCode(KX_SOCKET_BAD_OPTION);
    const std::uint32_t groupInterface =
        multicastInterface_ != 0 ? multicastInterface_ : localAddress_.hostValue();
    const kxSocketError outcome = trySetOption(option, value, groupInterface);
    if (outcome == KX_SOCKET_BAD_OPTION) return setErrorCode(outcome);
    if (!record(outcome)) return false;
    if (option == KX_SOCKET_MULTICAST_INTERFACE) multicastInterface_ = value;
    return true;
}

kxSocketError kxSocket::trySetOption(std::uint32_t option, std::uint32_t value,
                                     std::uint32_t groupInterface) const
{
    return kxPlatformSocketSetOption(descriptor_, option, value, groupInterface);
}

bool kxSocket::setOption(std::uint32_t option, const kxDynamicType& value)
{
    // By way of 64 bits, so that addresses keep their highest bit and negative numbers wrap.
    return setOption(option, static_cast<std::uint32_t>(kxArgument(value.toNumber()).toSigned()));
}

bool kxSocket::setBlocking(bool blocks)
{
    return record(kxPlatformSocketSetBlocking(descriptor_, blocks));
}
