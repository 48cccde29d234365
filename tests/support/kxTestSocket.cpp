#include "support/kxTestSocket.h"

#include <cerrno>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int checked(ssize_t result)
{
    if (result < 0) throw std::system_error(errno, std::generic_category(), "kxTestSocket");
    return static_cast<int>(result);
}

struct Address {
    explicit Address(std::uint16_t port, std::uint32_t host = INADDR_LOOPBACK)
    {
        form.sin_family = AF_INET;
        form.sin_port = htons(port);
        form.sin_addr.s_addr = htonl(host);
    }
    sockaddr* get() { return reinterpret_cast<sockaddr*>(&form); }

    sockaddr_in form{};
    socklen_t size = sizeof(form);
};

bool canRead(int descriptor, std::chrono::milliseconds timeout)
{
    pollfd state{descriptor, POLLIN, 0};
    return ::poll(&state, 1, static_cast<int>(timeout.count())) > 0;
}

}  // namespace

kxTestSocket kxTestSocket::datagram(std::uint16_t port)
{
    kxTestSocket made(checked(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)));
    const int on = 1;
    for (const int option : {SO_REUSEADDR, SO_BROADCAST})
        ::setsockopt(made.descriptor_, SOL_SOCKET, option, &on, sizeof(on));
    Address address(port, port != 0 ? INADDR_ANY : INADDR_LOOPBACK);
    checked(::bind(made.descriptor_, address.get(), address.size));
    return made;
}

kxTestSocket kxTestSocket::listener(int backlog, std::uint32_t host)
{
    kxTestSocket made(checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)));
    Address address(0, host);
    checked(::bind(made.descriptor_, address.get(), address.size));
    checked(::listen(made.descriptor_, backlog));
    return made;
}

kxTestSocket kxTestSocket::connectedTo(std::uint16_t port)
{
    kxTestSocket made(checked(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)));
    Address address(port);
    checked(::connect(made.descriptor_, address.get(), address.size));
    return made;
}

void kxTestSocket::narrowClient() const
{
    const int least = 1;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        Address address(0);
        if (::getpeername(descriptor, address.get(), &address.size) == 0 &&
            ntohs(address.form.sin_port) == port())
            checked(::setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &least, sizeof(least)));
    }
}

std::uint16_t kxTestSocket::port() const
{
    Address address(0);
    checked(::getsockname(descriptor_, address.get(), &address.size));
    return ntohs(address.form.sin_port);
}

std::string kxTestSocket::peer() const
{
    Address address(0);
    checked(::getpeername(descriptor_, address.get(), &address.size));
    return ::inet_ntoa(address.form.sin_addr);
}

kxTestSocket kxTestSocket::accept()
{
    return kxTestSocket(
        checked(canRead(descriptor_, KX_TEST_TIMEOUT) ? ::accept(descriptor_, nullptr, nullptr) : -1));
}

void kxTestSocket::send(std::string_view bytes, int flags)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL | flags);
        if (sent >= 0 || errno != EINTR) bytes.remove_prefix(static_cast<std::size_t>(checked(sent)));
    }
}

void kxTestSocket::sendTo(std::uint16_t port, std::string_view bytes, std::uint32_t host)
{
    Address address(port, host);
    checked(::sendto(descriptor_, bytes.data(), bytes.size(), 0, address.get(), address.size));
}

std::optional<std::string> kxTestSocket::receive(std::chrono::milliseconds timeout)
{
    std::string bytes(1 << 16, '\0');
    const ssize_t got =
        canRead(descriptor_, timeout) ? ::recv(descriptor_, bytes.data(), bytes.size(), 0) : -1;
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
