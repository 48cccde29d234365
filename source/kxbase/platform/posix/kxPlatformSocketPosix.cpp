#include "kxbase/platform/kxPlatformSocket.h"
#include "kxbase/platform/posix/kxPosixDescriptor.h"
#include "kxbase/platform/posix/kxPosixTime.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <iterator>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

static_assert(sizeof(sockaddr_in) == KX_PLATFORM_ADDRESS_BYTES, "the address form of this layer");
static_assert(sizeof(sockaddr_in6) == KX_PLATFORM_LARGEST_ADDRESS_BYTES, "no family has longer ones");

constexpr struct {
    int system;
    kxSocketError code;
} kSystemErrors[] = {
    {EINTR, KX_SOCKET_INTERRUPTED},
    {EBADF, KX_SOCKET_BAD_DESCRIPTOR},
    {ENOTSOCK, KX_SOCKET_BAD_DESCRIPTOR},
    {EACCES, KX_SOCKET_PERMISSION_DENIED},
    {EPERM, KX_SOCKET_PERMISSION_DENIED},
    {EINVAL, KX_SOCKET_BAD_ARGUMENT},
    {EAGAIN, KX_SOCKET_WOULD_BLOCK},
    {EWOULDBLOCK, KX_SOCKET_WOULD_BLOCK},
    {EINPROGRESS, KX_SOCKET_WOULD_BLOCK},
    {EALREADY, KX_SOCKET_WOULD_BLOCK},
    {EMSGSIZE, KX_SOCKET_TRUNCATED},
    {ENOPROTOOPT, KX_SOCKET_UNKNOWN_OPTION},
    {EPROTONOSUPPORT, KX_SOCKET_BAD_PROTOCOL},
    {EPFNOSUPPORT, KX_SOCKET_BAD_PROTOCOL_FAMILY},
    {EAFNOSUPPORT, KX_SOCKET_BAD_ADDRESS_FAMILY},
    {EADDRINUSE, KX_SOCKET_ADDRESS_IN_USE},
    {EADDRNOTAVAIL, KX_SOCKET_ADDRESS_NOT_AVAILABLE},
    {ENETUNREACH, KX_SOCKET_NETWORK_UNREACHABLE},
    {ECONNABORTED, KX_SOCKET_ABORTED},
    {EPIPE, KX_SOCKET_ABORTED},
    {ECONNRESET, KX_SOCKET_RESET},
    {EISCONN, KX_SOCKET_IS_CONNECTED},
    {ENOTCONN, KX_SOCKET_NOT_CONNECTED},
    {ETIMEDOUT, KX_SOCKET_TIMED_OUT},
    {ECONNREFUSED, KX_SOCKET_REFUSED},
    {EHOSTUNREACH, KX_SOCKET_HOST_UNREACHABLE},
    {ENODEV, KX_SOCKET_NO_DEVICE},
};

// How the value of an option is handed to the system.
enum ValueForm : std::uint8_t {
    kNumber,
    kByte,
    kLingerOn,
    kLingerOff,
    kAddress,
    kGroup,
    kMilliseconds,
    kBufferBytes,
};

constexpr struct {
    std::uint32_t option;
    int level;
    int name;
    ValueForm form;
} kOptions[] = {
    {KX_SOCKET_BROADCAST, SOL_SOCKET, SO_BROADCAST, kNumber},
    {KX_SOCKET_LINGER_ON, SOL_SOCKET, SO_LINGER, kLingerOn},
    {KX_SOCKET_LINGER_OFF, SOL_SOCKET, SO_LINGER, kLingerOff},
    {KX_SOCKET_KEEP_ALIVE, SOL_SOCKET, SO_KEEPALIVE, kNumber},
    {KX_SOCKET_REUSE_ADDRESS, SOL_SOCKET, SO_REUSEADDR, kNumber},
    {KX_SOCKET_MULTICAST_TTL, IPPROTO_IP, IP_MULTICAST_TTL, kByte},
    {KX_SOCKET_MULTICAST_INTERFACE, IPPROTO_IP, IP_MULTICAST_IF, kAddress},
    {KX_SOCKET_MULTICAST_LOOP, IPPROTO_IP, IP_MULTICAST_LOOP, kAddress},
    {KX_SOCKET_JOIN_GROUP, IPPROTO_IP, IP_ADD_MEMBERSHIP, kGroup},
    {KX_SOCKET_LEAVE_GROUP, IPPROTO_IP, IP_DROP_MEMBERSHIP, kGroup},
    {KX_SOCKET_RECEIVE_BUFFER, SOL_SOCKET, SO_RCVBUF, kBufferBytes},
    {KX_SOCKET_SEND_BUFFER, SOL_SOCKET, SO_SNDBUF, kBufferBytes},
    {KX_SOCKET_RECEIVE_TIMEOUT, SOL_SOCKET, SO_RCVTIMEO, kMilliseconds},
};

kxSocketError codeOf(int system)
{
    const auto* const row = std::find_if(std::begin(kSystemErrors), std::end(kSystemErrors),
                                         [=](const auto& entry) { return entry.system == system; });
    return row != std::end(kSystemErrors) ? row->code : KX_SOCKET_UNKNOWN;
}

kxSocketError outcomeOf(int result)
{
    return result < 0 ? codeOf(errno) : KX_SOCKET_OK;
}

kxPlatformSocketResult resultOf(ssize_t count)
{
    return {count, count < 0 ? codeOf(errno) : KX_SOCKET_OK};
}

int descriptorOf(kxPlatformSocketHandle socket)
{
    return static_cast<int>(socket);
}

template <typename Call> ssize_t repeated(const Call& call)
{
    ssize_t result;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

template <typename Value> kxSocketError setOption(int descriptor, int level, int name, const Value& value)
{
    return outcomeOf(::setsockopt(descriptor, level, name, &value, sizeof(value)));
}

// Beyond the limit for everybody where the process may, so that the size is the one that was asked for.
kxSocketError setBufferSize(int descriptor, int name, int sizeBytes)
{
#ifdef SO_RCVBUFFORCE
    const int forced = name == SO_RCVBUF ? SO_RCVBUFFORCE : SO_SNDBUFFORCE;
    if (setOption(descriptor, SOL_SOCKET, forced, sizeBytes) == KX_SOCKET_OK) return KX_SOCKET_OK;
#endif
    return setOption(descriptor, SOL_SOCKET, name, sizeBytes);
}

int socketOf(kxSocketFamily family, kxSocketKind kind)
{
    const int domain = family == KX_SOCKET_IPV4 ? AF_INET : AF_INET6;
    return ::socket(domain, (kind == KX_SOCKET_DATAGRAM ? SOCK_DGRAM : SOCK_STREAM) | SOCK_CLOEXEC, 0);
}

// What the contract promises of every socket; a system that refuses one of these behaves so by itself.
void setDefaults(int descriptor, kxSocketKind kind)
{
    if (kind != KX_SOCKET_DATAGRAM) {
        (void)setOption(descriptor, SOL_SOCKET, SO_OOBINLINE, 1);
        return;
    }
#ifdef IP_MULTICAST_ALL
    (void)setOption(descriptor, IPPROTO_IP, IP_MULTICAST_ALL, 0);
#endif
}

const sockaddr* systemAddress(const std::uint8_t* address)
{
    return reinterpret_cast<const sockaddr*>(address);
}

int pollUntilDone(pollfd* wanted, nfds_t count, std::uint32_t milliseconds)
{
    const bool isForever = milliseconds == KX_PLATFORM_WAIT_FOREVER;
    const int time = kxPosixPollTime(milliseconds);
    const std::int64_t end = time > 0 ? kxPosixMonotonicMilliseconds() + time : 0;
    int found = ::poll(wanted, count, time);
    while (found < 0 && errno == EINTR) {
        const auto left = static_cast<int>(std::max<std::int64_t>(end - kxPosixMonotonicMilliseconds(), 0));
        found = ::poll(wanted, count, isForever ? -1 : left);
    }
    return found;
}

// How long a receive waits that nobody has told not to; 0 is for ever.
std::int64_t receiveTimeoutMilliseconds(int descriptor)
{
    timeval time{};
    socklen_t size = sizeof(time);
    if (::getsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &time, &size) != 0) return 0;
    return std::int64_t{time.tv_sec} * 1000 + (time.tv_usec + 999) / 1000;
}

// Receiving by `call`, which gets the flags. The system would begin the receive time-out anew after each signal, so
// what is left of it is waited for here.
template <typename Call> ssize_t received(int descriptor, const Call& call)
{
    const std::int64_t start = kxPosixMonotonicMilliseconds();
    ssize_t count = call(0);
    if (count >= 0 || errno != EINTR) return count;
    const std::int64_t timeout = receiveTimeoutMilliseconds(descriptor);
    if (timeout == 0) return repeated([&] { return call(0); });
    pollfd state{descriptor, POLLIN, 0};
    do {
        const std::int64_t left = std::max<std::int64_t>(start + timeout - kxPosixMonotonicMilliseconds(), 0);
        const auto wait = static_cast<std::uint32_t>(std::min<std::int64_t>(left, INT_MAX));
        const bool isReady = pollUntilDone(&state, 1, wait) > 0;
        count = repeated([&] { return call(MSG_DONTWAIT); });
        if (!isReady) break;
    } while (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK));  // somebody else took it
    return count;
}

}  // namespace

kxSocketError kxPlatformSocketStart()
{
    return KX_SOCKET_OK;
}

kxPlatformSocketOpened kxPlatformSocketOpen(kxSocketFamily family, kxSocketKind kind)
{
    if (family != KX_SOCKET_IPV4 && family != KX_SOCKET_IPV6)
        return {KX_PLATFORM_NO_SOCKET, KX_SOCKET_BAD_ADDRESS_FAMILY};
    const int descriptor = kxPosixAboveStandardStreams(socketOf(family, kind));
    if (descriptor < 0) return {KX_PLATFORM_NO_SOCKET, codeOf(errno)};
    setDefaults(descriptor, kind);
    return {descriptor, KX_SOCKET_OK};
}

void kxPlatformSocketClose(kxPlatformSocketHandle socket)
{
    ::close(descriptorOf(socket));
}

kxSocketError kxPlatformSocketSetBlocking(kxPlatformSocketHandle socket, bool blocks)
{
    const int flags = ::fcntl(descriptorOf(socket), F_GETFL);
    if (flags < 0) return codeOf(errno);
    return outcomeOf(
        ::fcntl(descriptorOf(socket), F_SETFL, blocks ? flags & ~O_NONBLOCK : flags | O_NONBLOCK));
}

kxSocketError kxPlatformSocketSetOption(kxPlatformSocketHandle socket, std::uint32_t option,
                                        std::uint32_t value, std::uint32_t groupInterface)
{
    const auto* const row = std::find_if(std::begin(kOptions), std::end(kOptions),
                                         [=](const auto& entry) { return entry.option == option; });
    if (row == std::end(kOptions)) return KX_SOCKET_BAD_OPTION;

    const int descriptor = descriptorOf(socket);
    const int number = static_cast<int>(value);
    switch (row->form) {
    case kNumber:
        return setOption(descriptor, row->level, row->name, number);
    case kByte:
        if (value > UCHAR_MAX) return KX_SOCKET_BAD_ARGUMENT;
        return setOption(descriptor, row->level, row->name, static_cast<unsigned char>(value));
    case kLingerOn:
        return setOption(descriptor, row->level, row->name, linger{1, number});
    case kLingerOff:
        return setOption(descriptor, row->level, row->name, linger{0, number});
    case kAddress:
        return setOption(descriptor, row->level, row->name, htonl(value));
    case kGroup:
        return setOption(descriptor, row->level, row->name, ip_mreq{{htonl(value)}, {htonl(groupInterface)}});
    case kMilliseconds:
        return setOption(
            descriptor, row->level, row->name,
            timeval{static_cast<time_t>(value / 1000), static_cast<suseconds_t>(value % 1000) * 1000});
    case kBufferBytes:
        return setBufferSize(descriptor, row->name, number);
    }
    return KX_SOCKET_BAD_OPTION;
}

kxSocketError kxPlatformSocketBind(kxPlatformSocketHandle socket, const std::uint8_t* address,
                                   std::uint32_t sizeBytes)
{
    return outcomeOf(::bind(descriptorOf(socket), systemAddress(address), sizeBytes));
}

kxSocketError kxPlatformSocketConnect(kxPlatformSocketHandle socket, const std::uint8_t* address,
                                      std::uint32_t sizeBytes)
{
    if (::connect(descriptorOf(socket), systemAddress(address), sizeBytes) == 0) return KX_SOCKET_OK;
    if (errno != EINTR) return codeOf(errno);
    // The attempt goes on without the call.
    const kxPlatformSocketResult wait =
        kxPlatformSocketWait(socket, KX_SOCKET_CAN_WRITE, KX_PLATFORM_WAIT_FOREVER);
    return wait.count < 0 ? wait.error : kxPlatformSocketConnectResult(socket);
}

kxSocketError kxPlatformSocketConnectResult(kxPlatformSocketHandle socket)
{
    const kxPlatformSocketResult ready = kxPlatformSocketWait(socket, KX_SOCKET_CAN_WRITE, 0);
    if (ready.count < 0) return ready.error;
    if (ready.count == 0) return KX_SOCKET_WOULD_BLOCK;
    int error = 0;
    socklen_t size = sizeof(error);
    if (::getsockopt(descriptorOf(socket), SOL_SOCKET, SO_ERROR, &error, &size) != 0) return codeOf(errno);
    return error != 0 ? codeOf(error) : KX_SOCKET_OK;
}

kxSocketError kxPlatformSocketListen(kxPlatformSocketHandle socket, std::uint32_t backlog)
{
    return outcomeOf(
        ::listen(descriptorOf(socket), static_cast<int>(std::min<std::uint32_t>(backlog, INT_MAX))));
}

void kxPlatformSocketShutDownSending(kxPlatformSocketHandle socket)
{
    ::shutdown(descriptorOf(socket), SHUT_WR);
}

void kxPlatformSocketShutDownReceiving(kxPlatformSocketHandle socket)
{
    ::shutdown(descriptorOf(socket), SHUT_RD);
}

kxPlatformSocketResult kxPlatformSocketWait(kxPlatformSocketHandle socket, std::uint32_t wanted,
                                            std::uint32_t milliseconds)
{
    // The system would wait on a negative descriptor until the time has passed.
    if (descriptorOf(socket) < 0) return {-1, KX_SOCKET_BAD_DESCRIPTOR};
    const bool reads = (wanted & KX_SOCKET_CAN_READ) != 0;
    const bool writes = (wanted & KX_SOCKET_CAN_WRITE) != 0;
    pollfd state{descriptorOf(socket), static_cast<short>((reads ? POLLIN : 0) | (writes ? POLLOUT : 0)), 0};
    const int found = pollUntilDone(&state, 1, milliseconds);
    if (found < 0) return {-1, codeOf(errno)};
    if ((state.revents & POLLNVAL) != 0) return {-1, KX_SOCKET_BAD_DESCRIPTOR};
    // A failure is found out by whichever call is waited for.
    const bool hasFailed = (state.revents & (POLLERR | POLLHUP)) != 0;
    std::int64_t ready = 0;
    if (reads && (hasFailed || (state.revents & POLLIN) != 0)) ready |= KX_SOCKET_CAN_READ;
    if (writes && (hasFailed || (state.revents & POLLOUT) != 0)) ready |= KX_SOCKET_CAN_WRITE;
    return {ready, KX_SOCKET_OK};
}

void kxPlatformSocketWaitForEither(kxPlatformSocketHandle first, kxPlatformSocketHandle second,
                                   std::uint32_t milliseconds)
{
    pollfd wanted[] = {{descriptorOf(first), POLLIN, 0}, {descriptorOf(second), POLLIN, 0}};
    // A descriptor that is not open would end every wait at once.
    while (pollUntilDone(wanted, 2, milliseconds) > 0) {
        bool hasClosed = false;
        for (pollfd& one : wanted) {
            if ((one.revents & POLLNVAL) == 0) continue;
            one.fd = -1;
            hasClosed = true;
        }
        if (!hasClosed) return;
    }
}

kxPlatformSocketResult kxPlatformSocketPending(kxPlatformSocketHandle socket)
{
    int count = 0;
    if (::ioctl(descriptorOf(socket), FIONREAD, &count) != 0) return {-1, codeOf(errno)};
    return {count, KX_SOCKET_OK};
}

kxPlatformSocketResult kxPlatformSocketPeek(kxPlatformSocketHandle socket)
{
    char byte;
    return resultOf(
        repeated([&] { return ::recv(descriptorOf(socket), &byte, 1, MSG_PEEK | MSG_DONTWAIT); }));
}

kxPlatformSocketResult kxPlatformSocketReceive(kxPlatformSocketHandle socket, void* bytes,
                                               std::uint32_t sizeBytes)
{
    const int descriptor = descriptorOf(socket);
    return resultOf(
        received(descriptor, [=](int flags) { return ::recv(descriptor, bytes, sizeBytes, flags); }));
}

kxPlatformSocketResult kxPlatformSocketSend(kxPlatformSocketHandle socket, const void* bytes,
                                            std::uint32_t sizeBytes)
{
    return resultOf(repeated([&] { return ::send(descriptorOf(socket), bytes, sizeBytes, MSG_NOSIGNAL); }));
}

kxPlatformSocketResult kxPlatformSocketReceiveFrom(kxPlatformSocketHandle socket, std::uint8_t* sender,
                                                   void* bytes, std::uint32_t sizeBytes)
{
    sockaddr_in from{};
    const int descriptor = descriptorOf(socket);
    const ssize_t count = received(descriptor, [&](int flags) {
        socklen_t size = sizeof(from);
        return ::recvfrom(descriptor, bytes, sizeBytes, flags, reinterpret_cast<sockaddr*>(&from), &size);
    });
    if (from.sin_family == AF_INET) std::memset(from.sin_zero, 0, sizeof(from.sin_zero));
    std::memcpy(sender, &from, KX_PLATFORM_ADDRESS_BYTES);
    return resultOf(count);
}

kxPlatformSocketResult kxPlatformSocketSendTo(kxPlatformSocketHandle socket, const std::uint8_t* address,
                                              std::uint32_t addressBytes, const void* bytes,
                                              std::uint32_t sizeBytes)
{
    return resultOf(repeated([&] {
        return ::sendto(descriptorOf(socket), bytes, sizeBytes, MSG_NOSIGNAL, systemAddress(address),
                        addressBytes);
    }));
}

std::uint32_t kxPlatformSocketLocalAddress(kxPlatformSocketHandle socket, std::uint8_t* address)
{
    socklen_t size = KX_PLATFORM_LARGEST_ADDRESS_BYTES;
    return ::getsockname(descriptorOf(socket), reinterpret_cast<sockaddr*>(address), &size) == 0 ? size : 0;
}

std::uint32_t kxPlatformAddressAny(kxSocketFamily family, std::uint8_t* address)
{
    if (family != KX_SOCKET_IPV6) {
        kxPlatformAddressMake(0, 0, address);
        return KX_PLATFORM_ADDRESS_BYTES;
    }
    sockaddr_in6 any{};
    any.sin6_family = AF_INET6;
    std::memcpy(address, &any, sizeof(any));
    return sizeof(any);
}

void kxPlatformAddressMake(std::uint32_t host, std::uint16_t port, std::uint8_t* address)
{
    sockaddr_in made{};
    made.sin_family = AF_INET;
    made.sin_addr.s_addr = htonl(host);
    made.sin_port = htons(port);
    std::memcpy(address, &made, sizeof(made));
}

bool kxPlatformAddressRead(const std::uint8_t* address, std::uint32_t sizeBytes, std::uint32_t& host,
                           std::uint16_t& port)
{
    sockaddr_in made{};
    if (sizeBytes < sizeof(made)) return false;
    std::memcpy(&made, address, sizeof(made));
    if (made.sin_family != AF_INET) return false;
    host = ntohl(made.sin_addr.s_addr);
    port = ntohs(made.sin_port);
    return true;
}
