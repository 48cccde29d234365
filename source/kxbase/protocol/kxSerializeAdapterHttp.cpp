#include "kxbase/protocol/kxSerializeAdapterHttp.h"

#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxQuietGuard.h"
#include "kxbase/object/kxTypeTable.h"
#include "kxbase/serialize/kxAdapterMessage.h"
#include "kxbase/serialize/kxErrorText.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <utility>

namespace {

constexpr double kOthersReplySeconds = 3.0;
constexpr std::uint32_t kLongestWaitMilliseconds = 1000;
// While a request stands still, a reply that another thread takes in is looked for so often.
constexpr std::uint32_t kOthersReplyMilliseconds = 20;
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
    *errorOut = kxErrorText("Failed to open HTTP url '%s'", url);
}

kxSerializeAdapterHttp::~kxSerializeAdapterHttp() noexcept(false) = default;

const kxType& kxSerializeAdapterHttp::getType() const
{
    return kxTypeTable::find("kxSerializeAdapterHttp");
}

// ---- the connection

bool kxSerializeAdapterHttp::open(const kxString& url)
{
    discardPushBack();
    takeConnection();
    url_ = kxHttpUrl(url);
    setName(url_.origin.host);
    return connect();
}

// From here on the connection is the caller's, until a request goes out. A fresh one serves what it turns out to be;
// one that has served must be free of remains; neither may have been closed by the server since.
kxSerializeAdapterHttp::Fitness kxSerializeAdapterHttp::takeConnection()
{
    const kxQuietGuard guard(lock_);
    const bool isFresh = request_.phase == NOT_REQUESTED;
    std::uint32_t pending = 0;
    const bool isFit = connection_.isActive(pending) && (isFresh || (isConnectionUsable() && pending == 0));
    request_ = {};
    reader_.start(method_);
    if (!isFit) return UNFIT;
    return isFresh ? FRESH : KEPT_ALIVE;
}

bool kxSerializeAdapterHttp::connect()
{
    setError(connection_.open(url_, url_.origin.interfaceText(interfaceText_), timeoutSeconds_));
    return !kxSerializeAdapter::hasError();
}

bool kxSerializeAdapterHttp::isActive()
{
    const kxQuietGuard guard(lock_);
    return connection_.isActive();
}

// ---- requests

bool kxSerializeAdapterHttp::get()
{
    discardPushBack();
    return requestResource();
}

bool kxSerializeAdapterHttp::requestResource()
{
    const std::string port = std::to_string(url_.origin.port);
    const std::string_view host = url_.origin.host.view();
    return request(KX_HTTP_GET, joined({"GET http://", host, ":", port, "/", url_.encodedPath(),
                                        " HTTP/1.1\r\nUser-Agent:", userAgentText(), "\r\nHost:", host, ":",
                                        port, "\r\nProxy-Connection:Keep-Alive\r\n\r\n"}));
}

bool kxSerializeAdapterHttp::options()
{
    discardPushBack();
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
    method_ = method;
    requestText_ = text;
    return sendRequest(takeConnection());
}

bool kxSerializeAdapterHttp::sendRequest(Fitness fitness)
{
    const bool isReady = fitness != UNFIT || connect();
    {
        const kxQuietGuard guard(lock_);
        request_ = {.phase = REQUESTED,
                    .isKeptAlive = fitness == KEPT_ALIVE,
                    .deadline = kxClock::seconds() + timeoutSeconds_};
        if (!isReady) request_.failure = getError();
        lock_.signal();
    }
    setError({});
    sendText();
    return waitForReply();
}

void kxSerializeAdapterHttp::sendText()
{
    std::string_view left = requestText_;
    while (sendSome(left)) {
        const double seconds = request_.deadline - kxClock::seconds();
        if (seconds <= 0) return;
        waitForRoom(seconds);
    }
}

// Sends what the connection takes; answers whether the rest is to follow. A server may answer before it has taken the
// whole request; the rest is not sent then, and the connection serves no other request.
bool kxSerializeAdapterHttp::sendSome(std::string_view& left)
{
    const kxQuietGuard guard(lock_);
    if (!isHeadMissing()) return false;
    const kxPlatformSocketResult sent =
        connection_.trySend(left.data(), static_cast<std::uint32_t>(left.size()));
    if (sent.count >= 0) left.remove_prefix(static_cast<std::size_t>(sent.count));
    request_.isSent = left.empty();
    if (request_.isSent) return false;
    if (pumpsItself_) receiveAhead();
    if (sent.count >= 0 || sent.error == KX_SOCKET_WOULD_BLOCK) return isHeadMissing();
    // What has come before the failure can still be read.
    connection_.record(sent.error);
    receiveAhead();
    return false;
}

void kxSerializeAdapterHttp::waitForRoom(double seconds)
{
    if (pumpsItself_) {
        kxPlatformSocketWait(connection_.descriptor(), KX_SOCKET_CAN_WRITE | KX_SOCKET_CAN_READ,
                             millisecondsOf(seconds));
    } else {
        kxPlatformSocketWait(connection_.descriptor(), KX_SOCKET_CAN_WRITE,
                             std::min(millisecondsOf(seconds), kOthersReplyMilliseconds));
    }
}

bool kxSerializeAdapterHttp::waitForReply()
{
    const double deadline = request_.deadline;
    const double end = pumpsItself_ ? deadline : std::min(deadline, kxClock::seconds() + kOthersReplySeconds);
    bool hasHead = false;
    Phase phase = NOT_REQUESTED;
    waitFor([&] {
        if (pumpsItself_) receiveAhead();
        hasHead = reader_.hasHead();
        phase = request_.phase;
        return isHeadMissing() ? std::optional(end) : std::nullopt;
    });
    if (phase == STALE) return sendRequest(takeConnection());
    if (hasHead || phase == NOT_REQUESTED) return hasHead;
    if (kxClock::seconds() >= deadline) giveUp();
    concludeReply();
    return false;
}

// Waits for what a look finds, which answers nothing then, and until when to wait as long as it does not. False when
// that time comes first. Looks are taken under the lock.
template <class Look> bool kxSerializeAdapterHttp::waitFor(Look look)
{
    for (;;) {
        double left = 0;
        {
            const kxQuietGuard guard(lock_);
            const std::optional<double> end = look();
            if (!end) return true;
            left = *end - kxClock::seconds();
            if (left <= 0) return false;
            if (!pumpsItself_) waitForOther(millisecondsOf(left));
        }
        if (pumpsItself_) waitForInput(left);
    }
}

void kxSerializeAdapterHttp::waitForInput(double seconds)
{
    kxPlatformSocketWait(connection_.descriptor(), KX_SOCKET_CAN_READ, millisecondsOf(seconds));
}

// The lock is given up meanwhile. The wait uses one up, which is taken here; that of the caller stays.
void kxSerializeAdapterHttp::waitForOther(std::uint32_t milliseconds)
{
    lock_.lock();
    lock_.wait(milliseconds, true);
}

// ---- receiving

bool kxSerializeAdapterHttp::pump(std::uint32_t milliseconds)
{
    kxPlatformSocketHandle socket = KX_PLATFORM_NO_SOCKET;
    {
        const kxQuietGuard guard(lock_);
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
    const kxQuietGuard guard(lock_);
    return receiveAhead();
}

bool kxSerializeAdapterHttp::canReceive() const
{
    return isUnderWay() && reader_.length() < kAheadBytes;
}

// Receives until nothing is there, or enough for now; answers whether anything came.
bool kxSerializeAdapterHttp::receiveAhead()
{
    const bool wasUnderWay = isUnderWay();
    std::uint32_t received = 0;
    // What comes need not be of any use, so it is counted as it comes.
    while (canReceive() && received < kAheadBytes) {
        std::uint8_t* const room = reader_.room(kPieceBytes);
        const std::uint32_t got = receive(room, kPieceBytes);
        if (got != 0) reader_.received({room, got});
        received += got;
        if (got < kPieceBytes) break;
    }
    const bool hasCome = received != 0 || isUnderWay() != wasUnderWay;
    if (hasCome) lock_.signal();
    return hasCome;
}

// Answers 0 when nothing was there, and at the end.
std::uint32_t kxSerializeAdapterHttp::receive(std::uint8_t* bytes, std::uint32_t count)
{
    const std::int64_t got = connection_.receive(bytes, count);
    if (got < 0)
        endOfData();
    else
        request_.receivedBytes += static_cast<std::uint64_t>(got);
    return static_cast<std::uint32_t>(std::max<std::int64_t>(got, 0));
}

// A server may close a connection that it has kept alive just when another request comes; that one is sent again, once
// (RFC 9112 9.3.1).
void kxSerializeAdapterHttp::endOfData()
{
    if (request_.isKeptAlive && request_.receivedBytes == 0)
        request_.phase = STALE;
    else if (connection_.hasFailed())
        request_.failure = connection_.errorText();
    else
        reader_.endOfData();
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
            const kxQuietGuard guard(lock_);
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
    if (!hasPushBack()) return awaitData();
    // There is something to read already.
    const kxQuietGuard guard(lock_);
    return look();
}

// Waits until there are bytes to read or the reply is over; answers how many there are.
std::uint32_t kxSerializeAdapterHttp::awaitData()
{
    if (!awaitHead()) return 0;
    std::uint32_t ready = 0;
    std::uint64_t receivedBefore = 0;
    double end = 0;
    const bool isInTime = waitFor([&]() -> std::optional<double> {
        ready = look();
        if (ready != 0 || isOver()) return {};
        // Framing is a sign of life too; what there can be of it without a byte of the body has its limits.
        if (request_.receivedBytes != std::exchange(receivedBefore, request_.receivedBytes))
            end = kxClock::seconds() + timeoutSeconds_;
        return end;
    });
    if (!isInTime) giveUp();
    return ready;
}

bool kxSerializeAdapterHttp::awaitHead()
{
    Phase phase = NOT_REQUESTED;
    {
        const kxQuietGuard guard(lock_);
        if (reader_.hasHead()) return true;
        phase = request_.phase;
        if (phase != NOT_REQUESTED ? isOver() : kxSerializeAdapter::hasError()) return false;
    }
    return phase == NOT_REQUESTED ? requestResource() : waitForReply();
}

// ---- the end

// Nothing came in time.
void kxSerializeAdapterHttp::giveUp()
{
    const kxString text = kxErrorText(kTimedOut, getName());
    {
        const kxQuietGuard guard(lock_);
        if (isOver()) return;
        request_.failure = text;
        request_.isFailureTold = true;
        connection_.close();
        lock_.signal();
    }
    kxAdapterMessage(KX_MESSAGE_WARNING, kTimedOut, getName());
    concludeReply();
}

bool kxSerializeAdapterHttp::hasError()
{
    return kxSerializeAdapter::hasError() || concludeReply();
}

// When the reply is over: closes a connection that is of no more use, tells what went wrong, and, when everything has
// been read, makes that the adapter's error, which is the answer.
bool kxSerializeAdapterHttp::concludeReply()
{
    kxString text;
    bool hasBytes = hasPushBack();
    bool isTold = true;
    {
        const kxQuietGuard guard(lock_);
        // Without a connection there is nothing to come either.
        if (request_.phase != NOT_REQUESTED ? !isOver() : connection_.isOpen()) return false;
        text = request_.failure.isEmpty() ? reader_.errorText() : request_.failure;
        hasBytes = hasBytes || reader_.length() != 0;
        if (!isConnectionUsable()) connection_.close();
        if (!text.isEmpty()) isTold = std::exchange(request_.isFailureTold, true);
    }
    if (!isTold) kxAdapterMessage(KX_MESSAGE_WARNING, "HTTP Socket %s: %s", getName(), text);
    if (hasBytes) return false;
    setError(text.isEmpty() ? kxTranslate("IP connection closed") : text);
    return true;
}

void kxSerializeAdapterHttp::writeBlock(const void*, std::uint32_t count)
{
    if (count == 0 || std::exchange(isWriteTold_, true)) return;
    kxMessage(KX_MESSAGE_WARNING, "HTTP Socket %s cannot be written to", getName());
}
