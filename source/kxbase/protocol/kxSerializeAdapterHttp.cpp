#include "kxbase/protocol/kxSerializeAdapterHttp.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/net/kxNetwork.h"
#include "kxbase/object/kxTypeTable.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace {

constexpr std::uint32_t kReceiveBufferBytes = 1000000;
constexpr std::uint32_t kConnectPauseMilliseconds = 20;
constexpr double kOthersReplySeconds = 3.0;
constexpr std::uint32_t kLongestWaitMilliseconds = 1000;
constexpr std::uint32_t kPieceBytes = 65536;
constexpr std::uint32_t kAheadBytes = 1000000;
// Reads and runs of these sizes are worth a system call of their own, which saves queueing the bytes.
constexpr std::uint32_t kStraightBytes = 4096;
constexpr std::uint32_t kStraightRunBytes = 65536;

constexpr const char* kTimedOut = "HTTP Socket %s timeout. No data";

std::string joined(std::initializer_list<std::string_view> pieces)
{
    std::string text;
    for (const std::string_view piece : pieces) text.append(piece);
    return text;
}

std::uint32_t millisecondsOf(double seconds)
{
    return static_cast<std::uint32_t>(std::clamp(seconds * 1000 + 1, 0.0, double{kLongestWaitMilliseconds}));
}

}  // namespace

kxSerializeAdapterHttp::kxSerializeAdapterHttp(const kxString& url, kxString* errorOut)
{
    if (url.isEmpty() || open(url) || errorOut == nullptr) return;
    *errorOut = kxString::format(kxTranslate("Failed to open HTTP url '%s'"), url);
}

kxSerializeAdapterHttp::~kxSerializeAdapterHttp() noexcept(false) = default;

const kxType& kxSerializeAdapterHttp::getType() const
{
    return kxTypeTable::find("kxSerializeAdapterHttp");
}

// ---- the connection

bool kxSerializeAdapterHttp::open(const kxString& url)
{
    takeConnection();
    url_ = kxHttpUrl(url);
    setName(url_.origin.host);
    return connect();
}

// From here on the connection is the caller's, until a request has been prepared.
void kxSerializeAdapterHttp::takeConnection()
{
    const kxBodyGuard guard(lock_);
    isRequested_ = false;
    failure_ = {};
    reader_.start(KX_HTTP_GET);
}

bool kxSerializeAdapterHttp::connect()
{
    connection_.close(false);
    setError({});
    kxSocketAddress destination;
    if (!chooseDestination(destination)) return false;
    if (!connection_.create(KX_SOCKET_IPV4, KX_SOCKET_STREAM)) return failToConnect();
    connection_.setOption(KX_SOCKET_RECEIVE_BUFFER, kReceiveBufferBytes);
    connection_.setBlocking(false);
    connection_.setDetectClose(true);
    const kxString interfaceText = url_.origin.interfaceText(interfaceText_);
    // An interface that nobody knows is no address, which is any.
    const kxHostAddress chosen =
        interfaceText.isEmpty() ? kxHostAddress::none() : kxNetwork::interfaceAddress(interfaceText);
    return (connection_.bind(kxSocketAddress(chosen, 0)) && finishConnecting(destination)) || failToConnect();
}

bool kxSerializeAdapterHttp::chooseDestination(kxSocketAddress& destination)
{
    const kxNetUrl& proxy = url_.proxy;
    const bool hasProxy = !proxy.host.isEmpty();
    if (hasProxy && proxy.port != 0) destination = kxSocketAddress(proxy.host, proxy.port);
    const bool isProxyUsable = !destination.isEmpty();
    const bool isHostUsable = url_.hasUsableHost();
    if (isHostUsable && !isProxyUsable) {
        destination = kxSocketAddress(url_.origin.host, url_.origin.port);
        url_.proxy.host = {};
    }
    if (isHostUsable && !destination.isEmpty()) return true;
    setError(kxTranslate(hasProxy && !isProxyUsable ? "Host name in URL is not valid and proxy is not valid"
                                                    : "Host name in URL is not valid"));
    return false;
}

bool kxSerializeAdapterHttp::finishConnecting(const kxSocketAddress& destination)
{
    const double end = kxClock::seconds() + timeoutSeconds_;
    while (!connection_.connect(destination)) {
        if (connection_.error() != KX_SOCKET_OK) return false;
        if (kxClock::seconds() >= end) return connection_.record(KX_SOCKET_TIMED_OUT);
        connection_.waitForRoom(kConnectPauseMilliseconds);
    }
    return true;
}

bool kxSerializeAdapterHttp::failToConnect()
{
    setError(socketErrorText());
    connection_.close(false);
    return false;
}

kxString kxSerializeAdapterHttp::socketErrorText() const
{
    return kxString::format("%s (%s)", kxTranslate(connection_.errorText()), url_.origin.host);
}

bool kxSerializeAdapterHttp::isActive()
{
    const kxBodyGuard guard(lock_);
    return connection_.isActive();
}

// ---- requests

bool kxSerializeAdapterHttp::get()
{
    const std::string port = std::to_string(url_.origin.port);
    const std::string_view host = url_.origin.host.view();
    return request(KX_HTTP_GET, joined({"GET http://", host, ":", port, "/", url_.encodedPath(),
                                        " HTTP/1.1\r\nUser-Agent:", userAgentText(), "\r\nHost:", host, ":",
                                        port, "\r\nProxy-Connection:Keep-Alive\r\n\r\n"}));
}

bool kxSerializeAdapterHttp::options()
{
    const std::string port = std::to_string(url_.origin.port);
    const std::string_view host = url_.origin.host.view();
    return request(KX_HTTP_OPTIONS, joined({"OPTIONS http://", host, ":", port, " HTTP/1.1\r\nUser-Agent:",
                                            userAgentText(), "\r\nHost:", host, ":", port, "\r\n\r\n"}));
}

std::string kxSerializeAdapterHttp::userAgentText() const
{
    std::string text(userAgent_.view());
    std::replace_if(
        text.begin(), text.end(),
        [](char letter) { return static_cast<std::uint8_t>(letter) < 0x20 || letter == 0x7F; }, ' ');
    return text;
}

bool kxSerializeAdapterHttp::request(kxHttpMethod method, const std::string& text)
{
    discardPushBack();
    const bool canReuse = canReuseConnection();
    takeConnection();
    const bool isReady = canReuse || connect();
    {
        const kxBodyGuard guard(lock_);
        reader_.start(method);
        if (!isReady) failure_ = getError();
        isRequested_ = true;
        isTimedOut_ = isFailureTold_ = false;
        replyDeadline_ = kxClock::seconds() + timeoutSeconds_;
    }
    setError({});
    send(text);
    return waitForReply();
}

// A fresh connection serves whatever it turns out to be; one that has served must be free of remains and not closed
// by the server since.
bool kxSerializeAdapterHttp::canReuseConnection()
{
    const kxBodyGuard guard(lock_);
    if (!connection_.isOpen()) return false;
    if (!isRequested_) return true;
    std::uint32_t pending = 0;
    return failure_.isEmpty() && reader_.leavesConnectionUsable() && connection_.isActive(pending) &&
           pending == 0;
}

void kxSerializeAdapterHttp::send(const std::string& text)
{
    std::size_t done = 0;
    for (;;) {
        {
            const kxBodyGuard guard(lock_);
            if (isOver()) return;
            const auto left = static_cast<std::uint32_t>(text.size() - done);
            const kxPlatformSocketResult sent = connection_.trySend(text.data() + done, left);
            if (sent.count >= 0) {
                done += static_cast<std::size_t>(sent.count);
            } else if (!connection_.record(sent.error) && sent.error != KX_SOCKET_WOULD_BLOCK) {
                return failWithSocketError();
            }
            if (done == text.size()) return lock_.signal();
        }
        if (kxClock::seconds() >= replyDeadline_) return;
        connection_.waitForRoom(kLongestWaitMilliseconds);
    }
}

bool kxSerializeAdapterHttp::waitForReply()
{
    const double end =
        pumpsItself_ ? replyDeadline_ : std::min(replyDeadline_, kxClock::seconds() + kOthersReplySeconds);
    for (;;) {
        const double left = end - kxClock::seconds();
        {
            const kxBodyGuard guard(lock_);
            if (!isRequested_) return false;
            if (pumpsItself_) receiveAhead();
            if (reader_.hasHead()) return true;
            if (isOver() || left <= 0) break;
            if (!pumpsItself_) waitForOther(millisecondsOf(left));
        }
        if (pumpsItself_) waitForInput(left);
    }
    if (kxClock::seconds() >= replyDeadline_) giveUp();
    hasError();
    return false;
}

// ---- receiving

bool kxSerializeAdapterHttp::pump(std::uint32_t milliseconds)
{
    kxPlatformSocketHandle socket = KX_PLATFORM_NO_SOCKET;
    {
        const kxBodyGuard guard(lock_);
        if (receiveAhead()) return true;
        if (milliseconds == 0) return false;
        if (!canReceive()) {
            // Until a request goes out, or the reader has made room.
            waitForOther(milliseconds);
            return false;
        }
        socket = connection_.descriptor();
    }
    kxPlatformSocketWait(socket, KX_SOCKET_CAN_READ, milliseconds);
    const kxBodyGuard guard(lock_);
    return receiveAhead();
}

bool kxSerializeAdapterHttp::canReceive() const
{
    return isRequested_ && !isOver() && reader_.length() < kAheadBytes;
}

// Receives until nothing is there, or enough for now; answers whether anything came.
bool kxSerializeAdapterHttp::receiveAhead()
{
    const bool wasOver = isOver();
    std::uint32_t received = 0;
    // What comes need not be of any use, so it is counted as it comes.
    while (canReceive() && received < kAheadBytes) {
        const std::uint32_t got = receive(reader_.room(kPieceBytes), kPieceBytes);
        if (got != 0) reader_.received(got);
        received += got;
        if (got < kPieceBytes) break;
    }
    const bool hasCome = received != 0 || isOver() != wasOver;
    if (hasCome) lock_.signal();
    return hasCome;
}

// Answers 0 when nothing was there, and at the end.
std::uint32_t kxSerializeAdapterHttp::receive(std::uint8_t* bytes, std::uint32_t count)
{
    const std::int64_t got = connection_.receive(bytes, count);
    if (got > 0) return static_cast<std::uint32_t>(got);
    if (got == 0)
        reader_.endOfData();
    else if (connection_.error() != KX_SOCKET_OK)
        failWithSocketError();
    return 0;
}

void kxSerializeAdapterHttp::failWithSocketError()
{
    failure_ = socketErrorText();
    lock_.signal();
}

// ---- reading

// What the connection holds can wait there as long as it need not be decoded: then it goes straight to whoever
// reads.
std::uint32_t kxSerializeAdapterHttp::look()
{
    if (!pumpsItself_ || reader_.length() != 0) return reader_.length();
    if (const std::uint64_t run = reader_.plainRun(); run >= kStraightRunBytes) {
        const std::uint32_t pending = connection_.bytesAvailable();
        if (pending >= kStraightBytes)
            return static_cast<std::uint32_t>(std::min<std::uint64_t>(run, pending));
    }
    receiveAhead();
    return reader_.length();
}

std::uint32_t kxSerializeAdapterHttp::take(std::uint8_t* bytes, std::uint32_t count)
{
    std::uint32_t taken = reader_.take(bytes, count);
    if (!pumpsItself_) {
        lock_.signal();
        return taken;
    }
    if (taken == count || !reader_.hasHead()) return taken;
    if (count - taken >= kStraightBytes) taken += takeFromSocket(bytes + taken, count - taken);
    if (taken == count) return taken;
    receiveAhead();
    return taken + reader_.take(bytes + taken, count - taken);
}

std::uint32_t kxSerializeAdapterHttp::takeFromSocket(std::uint8_t* bytes, std::uint32_t count)
{
    std::uint32_t taken = 0;
    while (taken < count && !isOver()) {
        const std::uint64_t run = reader_.plainRun();
        if (run < kStraightRunBytes) break;
        const std::uint32_t got =
            receive(bytes + taken, static_cast<std::uint32_t>(std::min<std::uint64_t>(run, count - taken)));
        if (got == 0) break;
        reader_.passPlain(got);
        taken += got;
    }
    return taken;
}

std::uint32_t kxSerializeAdapterHttp::readBlock(void* bytes, std::uint32_t count)
{
    auto* const begin = static_cast<std::uint8_t*>(bytes);
    std::uint32_t taken = 0;
    for (;;) {
        {
            const kxBodyGuard guard(lock_);
            taken += take(begin + taken, count - taken);
        }
        if (taken == count || awaitData() == 0) return taken;
    }
}

std::uint8_t kxSerializeAdapterHttp::readByte()
{
    std::uint8_t byte = 0;
    readBlock(&byte, 1);
    return byte;
}

std::uint32_t kxSerializeAdapterHttp::getDataLength()
{
    return awaitData();
}

// Waits until there are bytes to read or the reply is over; answers how many there are.
std::uint32_t kxSerializeAdapterHttp::awaitData()
{
    if (!awaitHead()) return 0;
    const double end = kxClock::seconds() + timeoutSeconds_;
    for (;;) {
        const double left = end - kxClock::seconds();
        {
            const kxBodyGuard guard(lock_);
            const std::uint32_t ready = look();
            if (ready != 0 || isOver()) return ready;
            if (left <= 0) break;
            if (!pumpsItself_) waitForOther(millisecondsOf(left));
        }
        if (pumpsItself_) waitForInput(left);
    }
    giveUp();
    return 0;
}

bool kxSerializeAdapterHttp::awaitHead()
{
    {
        const kxBodyGuard guard(lock_);
        if (reader_.hasHead()) return true;
        if (isRequested_ && isOver()) return false;
        if (!isRequested_ && kxSerializeAdapter::hasError()) return false;
    }
    return isRequested_ ? waitForReply() : get();
}

void kxSerializeAdapterHttp::waitForInput(double seconds)
{
    kxPlatformSocketWait(connection_.descriptor(), KX_SOCKET_CAN_READ, millisecondsOf(seconds));
}

// Under the lock, which is given up meanwhile.
void kxSerializeAdapterHttp::waitForOther(std::uint32_t milliseconds)
{
    lock_.lock();
    lock_.wait(milliseconds, true);
}

// ---- the end

// Nothing came in time.
void kxSerializeAdapterHttp::giveUp()
{
    {
        const kxBodyGuard guard(lock_);
        if (isOver()) return;
        failure_ = kxString::format(kxTranslate(kTimedOut), getName());
        isTimedOut_ = true;
        connection_.close(false);
        lock_.signal();
    }
    hasError();
}

bool kxSerializeAdapterHttp::hasError()
{
    if (kxSerializeAdapter::hasError()) return true;
    kxString text;
    bool hasBytes = hasPushBack();
    {
        const kxBodyGuard guard(lock_);
        // Without a connection there is nothing to come either.
        if (isRequested_ ? !isOver() : connection_.isOpen()) return false;
        text = failure_.isEmpty() ? reader_.errorText() : failure_;
        hasBytes = hasBytes || reader_.length() != 0;
        if (!reader_.leavesConnectionUsable()) connection_.close(false);
    }
    tellFailure(text);
    if (hasBytes) return false;
    setError(text.isEmpty() ? kxTranslate("IP connection closed") : text);
    return true;
}

void kxSerializeAdapterHttp::tellFailure(const kxString& text)
{
    if (text.isEmpty() || std::exchange(isFailureTold_, true)) return;
    if (isTimedOut_)
        kxMessage(KX_MESSAGE_WARNING, kTimedOut, getName());
    else
        kxMessage(KX_MESSAGE_WARNING, "HTTP Socket %s: %s", getName(), text);
}

void kxSerializeAdapterHttp::writeBlock(const void*, std::uint32_t count)
{
    if (count == 0 || std::exchange(isWriteTold_, true)) return;
    kxMessage(KX_MESSAGE_WARNING, "HTTP Socket %s cannot be written to", getName());
}
