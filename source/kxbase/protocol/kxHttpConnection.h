// The connection that requests go through: to the proxy of a URL, or to its host.
//
// Ownership: owns the socket, which never waits by itself.
// Threads:   takes no lock; whoever shares a connection guards it. open() may wait, everything else does not.
// Units:     counts are in bytes, times in seconds.
#pragma once

#include "kxbase/net/kxSocket.h"
#include "kxbase/protocol/kxHttpUrl.h"

class kxHttpConnection {
public:
    // Closes what is open, and connects. A proxy whose host is not known is left out, with a Warning, and taken out
    // of the URL. The interface to connect from may be empty or unknown, which is any. Answers what went wrong; an
    // empty text when nothing did.
    kxString open(kxHttpUrl& url, const kxString& interfaceText, double timeoutSeconds);
    void close() { socket_.close(false); }

    // These are the socket's.
    bool isOpen() const { return socket_.isOpen(); }
    bool isActive() { return socket_.isActive(); }
    bool isActive(std::uint32_t& bytesReady) { return socket_.isActive(bytesReady); }
    std::uint32_t bytesAvailable() { return socket_.bytesAvailable(); }
    kxPlatformSocketResult trySend(const void* bytes, std::uint32_t count) const
    {
        return socket_.trySend(bytes, count);
    }
    bool record(kxSocketError outcome) { return socket_.record(outcome); }
    kxPlatformSocketHandle descriptor() const { return socket_.descriptor(); }

    // What came, or 0 when nothing is there. Negative when nothing more will come: hasFailed() tells a connection that
    // was lost, by a request that could not be sent too, from one that the peer has closed.
    std::int64_t receive(void* bytes, std::uint32_t count);
    bool hasFailed() const;
    // That of the socket, with the host in brackets.
    kxString errorText() const;

private:
    bool connect(const kxSocketAddress& destination, const kxString& interfaceText, double timeoutSeconds);
    bool finishConnecting(const kxSocketAddress& destination, double timeoutSeconds);

    kxSocket socket_;
    kxString host_;
};
