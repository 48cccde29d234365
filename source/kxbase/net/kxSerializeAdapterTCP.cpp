#include "kxbase/net/kxSerializeAdapterTCP.h"

#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxQuietGuard.h"
#include "kxbase/net/kxNetwork.h"
#include "kxbase/object/kxTypeTable.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

constexpr std::uint32_t kMostChunksAtOnce = 100;
// Reads of this size are worth a system call of their own, which saves queueing the bytes; so are those that take all
// that was found.
constexpr std::uint32_t kStraightBytes = 4096;
constexpr std::uint32_t kReceiveBufferBytes = 1000000;
constexpr double kConnectSeconds = 3.0;
constexpr std::uint32_t kConnectPauseMilliseconds = 20;
constexpr double kPeerCloseSeconds = 1.0;
// A write that stands still looks again now and then, whatever it was not woken for.
constexpr std::uint32_t kWriteWaitMilliseconds = 1000;

}  // namespace

kxSerializeAdapterTCP::kxSerializeAdapterTCP(const kxString& url, kxString* errorOut)
{
    if (url.isEmpty() || open(url) || errorOut == nullptr) return;
    *errorOut = kxErrorText("Failed to open TCP url '%s'", url);
}

kxSerializeAdapterTCP::~kxSerializeAdapterTCP() noexcept(false)
{
    closeConnection();
}

const kxType& kxSerializeAdapterTCP::getType() const
{
    return kxTypeTable::find("kxSerializeAdapterTCP");
}

bool kxSerializeAdapterTCP::open(const kxString& url)
{
    const kxNetUrl parts(url);
    closeConnection();
    forget();
    const kxUrlOptions options = parts.lookup();
    setWaiting(options.getBool("blocking", isBlocking()), options.getNumber("timeout", getTimeout()));
    if (parts.host.isEmpty()) return fail("Missing IP adress %s", url);
    if (parts.port == 0) return fail("Unable to connect IP adress %s", url);
    prepareSocket();
    return bindTo(parts.interfaceText(interfaceText_), parts) &&
           connectTo(kxSocketAddress(parts.host, parts.port), url);
}

// Nothing of an earlier connection is left.
void kxSerializeAdapterTCP::forget()
{
    const kxQuietGuard guard(lock_);
    queue_.clear();
    discardPushBack();
    sendError_.store(KX_SOCKET_OK, std::memory_order_relaxed);
    setError({});
}

// What goes wrong stays recorded, and connecting tells it.
void kxSerializeAdapterTCP::prepareSocket()
{
    if (!connection_.create(KX_SOCKET_IPV4, KX_SOCKET_STREAM)) return;
    connection_.setOption(KX_SOCKET_REUSE_ADDRESS, 1);
    connection_.setOption(KX_SOCKET_KEEP_ALIVE, 1);
    connection_.setBlocking(false);
    connection_.setDetectClose(true);
}

bool kxSerializeAdapterTCP::bindTo(const kxString& interfaceText, const kxNetUrl& url)
{
    if (interfaceText.isEmpty() || connection_.error() != KX_SOCKET_OK) return true;
    if (connection_.bind(kxSocketAddress(kxNetwork::interfaceAddress(interfaceText), 0))) return true;
    return fail("Unable to bind IP adress %s:%d on iface:%s", url.host, url.port, interfaceText);
}

bool kxSerializeAdapterTCP::connectTo(const kxSocketAddress& destination, const kxString& url)
{
    const double end = kxClock::seconds() + kConnectSeconds;
    while (connection_.error() == KX_SOCKET_OK && !connection_.connect(destination)) {
        if (connection_.error() != KX_SOCKET_OK) break;
        if (kxClock::seconds() >= end) {
            // The attempt is given up, lest it succeeds later.
            connection_.close(false);
            return fail("Unable to connect IP adress %s", url);
        }
        connection_.waitForRoom(kConnectPauseMilliseconds);
    }
    if (connection_.error() != KX_SOCKET_OK) {
        return fail("%s when connecting to IP adress %s and bind to %s", kxTranslate(connection_.errorText()),
                    url, connection_.hostAddress().text());
    }
    tuneConnection();
    return true;
}

// A connection works without either option, so that a refusal is not recorded.
void kxSerializeAdapterTCP::tuneConnection()
{
    connection_.trySetOption(KX_SOCKET_KEEP_ALIVE, 1);
    connection_.trySetOption(KX_SOCKET_RECEIVE_BUFFER, kReceiveBufferBytes);
    connection_.receiveBuffer() = {};
}

void kxSerializeAdapterTCP::closeConnection()
{
    const kxQuietGuard writing(writeLock_);
    const kxQuietGuard guard(lock_);
    if (std::exchange(hasSent_, false)) connection_.awaitPeerClose(kPeerCloseSeconds);
    connection_.close(false);
}

bool kxSerializeAdapterTCP::isActive()
{
    const kxQuietGuard guard(lock_);
    return connection_.isActive();
}

// After a failed write the connection is used up with what has arrived.
bool kxSerializeAdapterTCP::isReceiving()
{
    std::uint32_t ready = 0;
    return connection_.isActive(ready) && (ready != 0 || getSendError() == KX_SOCKET_OK);
}

kxPlatformSocketHandle kxSerializeAdapterTCP::receivingSocket() const
{
    return connection_.error() == KX_SOCKET_OK ? connection_.descriptor() : KX_PLATFORM_NO_SOCKET;
}

void kxSerializeAdapterTCP::closeReceiving()
{
    {
        // A write that stands still must let go first. What it has sent is still to arrive, so that receiving goes
        // on until the peer closes.
        const kxQuietGuard guard(lock_);
        connection_.shutDownSending();
    }
    closeConnection();
}

// What the socket holds can wait there: then it goes straight to whoever reads it.
std::uint32_t kxSerializeAdapterTCP::look()
{
    connection_.isActive(foundInSocket_);
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(std::uint64_t{queue_.length()} + foundInSocket_,
                                                              std::numeric_limits<std::uint32_t>::max()));
}

std::uint32_t kxSerializeAdapterTCP::take(std::uint8_t* bytes, std::uint32_t count)
{
    const std::uint32_t taken = queue_.take(bytes, count);
    const std::uint32_t left = count - taken;
    if (left == 0) return taken;
    const std::uint32_t found = std::exchange(foundInSocket_, 0);
    const bool takesAll = found != 0 && found <= left;
    if (takesAll || left >= kStraightBytes) return taken + takeFromSocket(bytes + taken, left);
    receivePending();
    return taken + queue_.take(bytes + taken, left);
}

std::uint32_t kxSerializeAdapterTCP::takeFromSocket(std::uint8_t* bytes, std::uint32_t count)
{
    std::uint32_t taken = 0;
    while (taken < count && connection_.isOpen() && connection_.error() == KX_SOCKET_OK) {
        const std::int64_t got = connection_.receive(bytes + taken, count - taken);
        if (got < 1) break;
        taken += static_cast<std::uint32_t>(got);
    }
    return taken;
}

void kxSerializeAdapterTCP::receivePending()
{
    std::uint32_t pending = 0;
    if (!connection_.isActive(pending)) return;
    for (std::uint32_t count = 0; count < kMostChunksAtOnce && pending != 0 && !queue_.isFull(); ++count) {
        const kxRefPointer<kxNetData> chunk = queue_.newRecord();
        const std::int64_t got = connection_.receive(chunk->prepare(pending), pending);
        if (got < 1) return queue_.giveBack(chunk);
        chunk->commit(static_cast<std::uint32_t>(got));
        queue_.append(chunk);
        pending = connection_.bytesAvailable();
    }
}

void kxSerializeAdapterTCP::writeBlock(const void* bytes, std::uint32_t count)
{
    noteWritten();
    kxSocketAddress lostPeer;
    {
        const kxQuietGuard writing(writeLock_);
        if (getSendError() != KX_SOCKET_OK) return;
        sendAll(static_cast<const std::uint8_t*>(bytes), count);
        if (getSendError() == KX_SOCKET_OK) return;
        lostPeer = connection_.peerAddress();
    }
    couldNotSend(lostPeer, getSendError());
}

void kxSerializeAdapterTCP::sendAll(const std::uint8_t* begin, std::uint32_t count)
{
    while (count != 0 && getSendError() == KX_SOCKET_OK) {
        const kxPlatformSocketResult sent = connection_.trySend(begin, count);
        if (sent.error == KX_SOCKET_WOULD_BLOCK) {
            takeInputUntilRoom();
        } else if (sent.count < 0) {
            sendError_.store(sent.error, std::memory_order_relaxed);
        } else {
            hasSent_ = true;
            begin += sent.count;
            count -= static_cast<std::uint32_t>(sent.count);
            if (count != 0) takeInputUntilRoom();  // the system took what it had room for
        }
    }
}

// Waits for a writer's sake.
void kxSerializeAdapterTCP::takeInputUntilRoom()
{
    std::uint32_t wanted = KX_SOCKET_CAN_WRITE;
    {
        const kxQuietGuard guard(lock_);
        // A connection that has ended can always be read, and a full queue takes nothing.
        if (connection_.error() == KX_SOCKET_OK && !queue_.isFull()) wanted |= KX_SOCKET_CAN_READ;
    }
    const kxPlatformSocketResult ready =
        kxPlatformSocketWait(connection_.descriptor(), wanted, kWriteWaitMilliseconds);
    if (ready.count < 0 || (ready.count & KX_SOCKET_CAN_READ) == 0) return;
    const kxQuietGuard guard(lock_);
    receivePending();
}
