#include "kxbase/protocol/kxSerializeAdapterHttp.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/object/kxTypeTable.h"
#include "kxbase/serialize/kxAdapterSilence.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace {

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

// From here on the connection is the caller's, until a request goes out. A fresh one serves what it turns out to be;
// one that has served must be free of remains; neither may have been closed by the server since.
kxSerializeAdapterHttp::Fitness kxSerializeAdapterHttp::takeConnection()
{
    const kxBodyGuard guard(lock_);
    const bool isFresh = phase_ == NOT_REQUESTED;
    std::uint32_t pending = 0;
    const bool isFit =
        connection_.socket().isActive(pending) &&
        (isFresh || (isSent_ && failure_.isEmpty() && reader_.leavesConnectionUsable() && pending == 0));
    phase_ = NOT_REQUESTED;
    failure_ = {};
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
    const kxBodyGuard guard(lock_);
    return connection_.socket().isActive();
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
    method_ = method;
    requestText_ = text;
    return sendRequest(takeConnection());
}

bool kxSerializeAdapterHttp::sendRequest(Fitness fitness)
{
    const bool isReady = fitness != UNFIT || connect();
    {
        const kxBodyGuard guard(lock_);
        reader_.start(method_);
        receivedBytes_ = 0;
        isSent_ = false;
        if (!isReady) failure_ = getError();
        phase_ = REQUESTED;
        isKeptAlive_ = fitness == KEPT_ALIVE;
        replyDeadline_ = kxClock::seconds() + timeoutSeconds_;
    }
    isFailureTold_ = false;
    setError({});
    sendText();
    return waitForReply();
}

// A server may answer before it has taken the whole request; the rest is not sent then, and the connection serves no
// other request.
void kxSerializeAdapterHttp::sendText()
{
    std::string_view left = requestText_;
    for (;;) {
        {
            const kxBodyGuard guard(lock_);
            if (!isUnderWay()) return connection_.close();
            if (reader_.hasHead()) return;
            const kxPlatformSocketResult sent =
                connection_.socket().trySend(left.data(), static_cast<std::uint32_t>(left.size()));
            if (sent.count >= 0) left.remove_prefix(static_cast<std::size_t>(sent.count));
            isSent_ = left.empty();
            if (isSent_) return lock_.signal();
            if (pumpsItself_) receiveAhead();
            if (sent.count < 0 && sent.error != KX_SOCKET_WOULD_BLOCK) {
                // What has come before the failure can still be read.
                connection_.socket().record(sent.error);
                receiveAhead();
                return lock_.signal();
            }
        }
        if (kxClock::seconds() >= replyDeadline_) return;
        const std::uint32_t wanted = KX_SOCKET_CAN_WRITE | (pumpsItself_ ? KX_SOCKET_CAN_READ : 0U);
        kxPlatformSocketWait(connection_.socket().descriptor(), wanted, kLongestWaitMilliseconds);
    }
}

bool kxSerializeAdapterHttp::waitForReply()
{
    const double end =
        pumpsItself_ ? replyDeadline_ : std::min(replyDeadline_, kxClock::seconds() + kOthersReplySeconds);
    bool hasHead = false;
    Phase phase = NOT_REQUESTED;
    waitUntil(end, [&] {
        if (pumpsItself_) receiveAhead();
        hasHead = reader_.hasHead();
        phase = phase_;
        return hasHead || !isUnderWay();
    });
    if (phase == STALE) return sendRequest(takeConnection());
    if (hasHead || phase == NOT_REQUESTED) return hasHead;
    if (kxClock::seconds() >= replyDeadline_) giveUp();
    concludeReply();
    return false;
}

// Waits until a condition is met, which is asked under the lock; false when the end comes first. The condition may put
// the end off.
template <class Condition> bool kxSerializeAdapterHttp::waitUntil(const double& end, Condition isMet)
{
    for (;;) {
        double left = 0;
        {
            const kxBodyGuard guard(lock_);
            if (isMet()) return true;
            left = end - kxClock::seconds();
            if (left <= 0) return false;
            if (!pumpsItself_) waitForOther(millisecondsOf(left));
        }
        if (pumpsItself_) waitForInput(left);
    }
}

void kxSerializeAdapterHttp::waitForInput(double seconds)
{
    kxPlatformSocketWait(connection_.socket().descriptor(), KX_SOCKET_CAN_READ, millisecondsOf(seconds));
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
        const kxBodyGuard guard(lock_);
        if (receiveAhead()) return true;
        if (milliseconds == 0) return false;
        if (!canReceive()) {
            // Until a request goes out, or the reader has made room.
            waitForOther(milliseconds);
            return false;
        }
        socket = connection_.socket().descriptor();
    }
    kxPlatformSocketWait(socket, KX_SOCKET_CAN_READ, milliseconds);
    const kxBodyGuard guard(lock_);
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
        const std::uint32_t got = receive(reader_.room(kPieceBytes), kPieceBytes);
        if (got != 0) reader_.received(got);
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
        receivedBytes_ += static_cast<std::uint64_t>(got);
    return static_cast<std::uint32_t>(std::max<std::int64_t>(got, 0));
}

// A server may close a connection that it has kept alive just when another request comes; that one is sent again, once
// (RFC 9112 9.3.1).
void kxSerializeAdapterHttp::endOfData()
{
    if (isKeptAlive_ && receivedBytes_ == 0)
        phase_ = STALE;
    else if (connection_.hasFailed())
        failure_ = connection_.errorText();
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
        const std::uint32_t pending = connection_.socket().bytesAvailable();
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
    std::uint32_t ready = 0;
    std::uint64_t receivedBefore = 0;
    double end = 0;
    const bool isInTime = waitUntil(end, [&] {
        ready = look();
        // Framing is a sign of life too; what there can be of it without a byte of the body has its limits.
        if (receivedBytes_ != std::exchange(receivedBefore, receivedBytes_))
            end = kxClock::seconds() + timeoutSeconds_;
        return ready != 0 || isOver();
    });
    if (!isInTime) giveUp();
    return ready;
}

bool kxSerializeAdapterHttp::awaitHead()
{
    Phase phase = NOT_REQUESTED;
    {
        const kxBodyGuard guard(lock_);
        if (reader_.hasHead()) return true;
        phase = phase_;
        if (phase != NOT_REQUESTED ? isOver() : kxSerializeAdapter::hasError()) return false;
    }
    return phase == NOT_REQUESTED ? get() : waitForReply();
}

// ---- the end

// Nothing came in time.
void kxSerializeAdapterHttp::giveUp()
{
    {
        const kxBodyGuard guard(lock_);
        if (isOver()) return;
        failure_ = kxString::format(kxTranslate(kTimedOut), getName());
        connection_.close();
        lock_.signal();
    }
    isFailureTold_ = true;
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
    {
        const kxBodyGuard guard(lock_);
        // Without a connection there is nothing to come either.
        if (phase_ != NOT_REQUESTED ? !isOver() : connection_.socket().isOpen()) return false;
        text = failure_.isEmpty() ? reader_.errorText() : failure_;
        hasBytes = hasBytes || reader_.length() != 0;
        if (!reader_.leavesConnectionUsable()) connection_.close();
    }
    if (!text.isEmpty() && !std::exchange(isFailureTold_, true))
        kxAdapterMessage(KX_MESSAGE_WARNING, "HTTP Socket %s: %s", getName(), text);
    if (hasBytes) return false;
    setError(text.isEmpty() ? kxTranslate("IP connection closed") : text);
    return true;
}

void kxSerializeAdapterHttp::writeBlock(const void*, std::uint32_t count)
{
    if (count == 0 || std::exchange(isWriteTold_, true)) return;
    kxMessage(KX_MESSAGE_WARNING, "HTTP Socket %s cannot be written to", getName());
}
