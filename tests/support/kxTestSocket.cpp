#include "support/kxTestSocket.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int checked(ssize_t result, const char* what)
{
    if (result < 0) throw std::system_error(errno, std::generic_category(), what);
    return static_cast<int>(result);
}

sockaddr_in addressOf(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

int opened(int type)
{
    return checked(::socket(AF_INET, type | SOCK_CLOEXEC, 0), "socket");
}

template <typename Call> void withAddress(std::uint16_t port, const char* what, const Call& call)
{
    const sockaddr_in address = addressOf(port);
    checked(call(reinterpret_cast<const sockaddr*>(&address), socklen_t{sizeof(address)}), what);
}

}  // namespace

kxTestSocket::kxTestSocket(int descriptor) : descriptor_(descriptor) {}

kxTestSocket kxTestSocket::datagram(std::uint16_t port)
{
    kxTestSocket made(opened(SOCK_DGRAM));
    const int on = 1;
    for (const int option : {SO_REUSEADDR, SO_BROADCAST}) {
        ::setsockopt(made.descriptor_, SOL_SOCKET, option, &on, sizeof(on));
    }
    sockaddr_in address = addressOf(port);
    if (port != 0) address.sin_addr.s_addr = htonl(INADDR_ANY);  // to hear what everybody is sent
    checked(::bind(made.descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), "bind");
    return made;
}

kxTestSocket kxTestSocket::listener(int backlog)
{
    kxTestSocket made(opened(SOCK_STREAM));
    withAddress(0, "bind", [&](auto... address) { return ::bind(made.descriptor_, address...); });
    checked(::listen(made.descriptor_, backlog), "listen");
    return made;
}

kxTestSocket kxTestSocket::connectedTo(std::uint16_t port)
{
    kxTestSocket made(opened(SOCK_STREAM));
    withAddress(port, "connect", [&](auto... address) { return ::connect(made.descriptor_, address...); });
    return made;
}

std::uint16_t kxTestSocket::port() const
{
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    checked(::getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address), &size), "getsockname");
    return ntohs(address.sin_port);
}

kxTestSocket kxTestSocket::accept()
{
    pollfd state{descriptor_, POLLIN, 0};
    if (::poll(&state, 1, static_cast<int>(KX_TEST_TIMEOUT.count())) == 0)
        errno = ETIMEDOUT, checked(-1, "accept");
    return kxTestSocket(checked(::accept(descriptor_, nullptr, nullptr), "accept"));
}

void kxTestSocket::send(std::string_view bytes, int flags)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL | flags);
        if (sent < 0 && errno == EINTR) continue;
        bytes.remove_prefix(static_cast<std::size_t>(checked(sent, "send")));
    }
}

void kxTestSocket::sendTo(std::uint16_t port, std::string_view bytes, const char* host)
{
    sockaddr_in address = addressOf(port);
    address.sin_addr.s_addr = ::inet_addr(host);
    checked(::sendto(descriptor_, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                     sizeof(address)),
            "sendto");
}

std::optional<std::string> kxTestSocket::receive(std::chrono::milliseconds timeout)
{
    pollfd state{descriptor_, POLLIN, 0};
    if (::poll(&state, 1, static_cast<int>(timeout.count())) <= 0) return {};
    std::string bytes(1 << 16, '\0');
    const ssize_t got = ::recv(descriptor_, bytes.data(), bytes.size(), 0);
    if (got < 0) return {};
    bytes.resize(static_cast<std::size_t>(got));
    return bytes;
}

std::optional<std::string> kxTestSocket::receiveAll()
{
    std::string all;
    while (const auto bytes = receive()) {
        if (bytes->empty()) return all;
        all += *bytes;
    }
    return {};
}

void kxTestSocket::shutDownSending()
{
    ::shutdown(descriptor_, SHUT_WR);
}

void kxTestSocket::close()
{
    if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
}

void kxTestSocket::reset()
{
    const linger hard{1, 0};
    ::setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &hard, sizeof(hard));
    close();
}
