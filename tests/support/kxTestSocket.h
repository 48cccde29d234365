// A bare socket of the system, on 127.0.0.1 if nothing else is said: the other side of the sockets and adapters under
// test.
//
// Ownership: owns the descriptor.
// Threads:   one thread at a time.
// Errors:    what the system refuses throws std::system_error. No wait lasts longer than KX_TEST_TIMEOUT.
#pragma once

#include "support/kxCapturedStream.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

class kxTestSocket {
public:
    // On a port of the system's choice; on a given one it hears what everybody is sent, beside others.
    static kxTestSocket datagram(std::uint16_t port = 0);
    static kxTestSocket listener(int backlog = 16, std::uint32_t host = 0x7F000001);
    static kxTestSocket connectedTo(std::uint16_t port);

    kxTestSocket(kxTestSocket&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    ~kxTestSocket() { close(); }

    std::uint16_t port() const;
    // The address of the other end of a stream.
    std::string peer() const;
    std::string url(const std::string& scheme) const
    {
        return scheme + "127.0.0.1:" + std::to_string(port());
    }

    kxTestSocket accept();
    void send(std::string_view bytes, int flags = 0);
    // Leaves little room for what a client of this process is to send to this listener.
    void narrowClient() const;
    void sendTo(std::uint16_t port, std::string_view bytes, std::uint32_t host = 0x7F000001);
    // One read; nothing when the time passes. An empty text is the end of a stream or an empty datagram.
    std::optional<std::string> receive(std::chrono::milliseconds timeout = KX_TEST_TIMEOUT);
    // All until the end; nothing when the peer reset the connection or the time passes.
    std::optional<std::string> receiveAll();
    void shutDownSending();
    void close();
    // Closes in a way that the peer sees as a reset.
    void reset();

private:
    explicit kxTestSocket(int descriptor) : descriptor_(descriptor) {}

    int descriptor_;
};
