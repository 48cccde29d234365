// A socket of the system: it owns the descriptor and turns every failure into a portable code with a fixed text.
//
// Operations answer whether they succeeded. A failure is recorded as error(), which stays until the socket is
// created anew or closed; with throwing on, a failure of the system is raised as kxFatalError with its text too.
// On a socket that does not block, receiving and connecting fail without an error where they would have to wait;
// sending records KX_SOCKET_WOULD_BLOCK. Operations that begin with "try" only tell what happened; record() does the
// rest for those who want it.
//
//   asks                   for                                                        system calls
//   isOpen()               a descriptor                                               none
//   error()                the failure recorded, if any                               none
//   isActive()             an open socket without a failure, whose peer has not       none for datagrams, else
//                          closed, which only detect-close notices                    1 to 4
//   isActive(bytesReady)   the same, and what a stream has to read; 0 for datagrams   the same
//   bytesAvailable()       what is to read, also the size of the first datagram       1
//
// In a kxThreadPoolTicker, a socket receives by itself: each tick posts what has come as messages named "kxNetData",
// with the socket as sender and a kxNetData as payload, and delivers them to the subscribers on the pool's thread.
//
// IPv6: sockets bind, connect and send to addresses made of the system's bytes. Senders of datagrams are told by their
// first 16 bytes only, which cannot be sent to, so that own ones are not known either; hosts of IPv6 are not valid
// host addresses; groups are those of IPv4.
//
// Ownership: owns the descriptor; the destructor closes it, not gracefully. A socket is removed from its pool first.
// Threads:   takes no lock; whoever shares a socket guards it, and nobody else receives from one that is in a pool.
//            Only error() may be asked at any time. A payload belongs to the thread that it is delivered on.
// Units:     counts are in bytes, waits in milliseconds.
#pragma once

#include "kxbase/dynamic/kxDynamicType.h"
#include "kxbase/net/kxNetData.h"
#include "kxbase/notify/kxNotifyManager.h"
#include "kxbase/object/kxTypeInterface.h"
#include "kxbase/platform/kxPlatformSocket.h"
#include "kxbase/thread/kxThreadTicker.h"

#include <atomic>

class kxSocket : public kxThreadTicker, public kxNotifyManager, public kxTypeInterface {
public:
    kxSocket();
    ~kxSocket() override;
    const kxType& getType() const override;

    // The fixed text of a code.
    static const char* errorText(std::uint32_t code);

    // Closes an open descriptor gracefully first. Datagrams exist for every family but KX_SOCKET_INFRARED; all
    // else is a stream.
    bool create(kxSocketFamily family, kxSocketKind kind);
    // An empty address is any address and port of the family. The local address becomes the one that the system gave.
    bool bind(const kxSocketAddress& address);
    // A destination that is empty or 0.0.0.0 fails with KX_SOCKET_ADDRESS_NOT_AVAILABLE, without the system. On a
    // socket that does not block, an attempt that goes on answers false without an error: ask again, with the same
    // address; another one fails with KX_SOCKET_BAD_ARGUMENT meanwhile.
    bool connect(const kxSocketAddress& address);
    // 0 is the largest backlog.
    bool listen(std::uint32_t backlog);
    // An IPv4 datagram socket on the port, shared with others, that may send to everybody. Port 0 is any.
    bool openBroadcast(std::uint16_t port);
    // Ends sending, which the peer sees as the end of the stream; wakes whoever waits to send.
    void shutDownSending();
    // Ends sending, which the peer sees as the end of the stream, and reads away what comes until the peer closes
    // too, which only detect-close notices. False, with an error, when it did not within the time.
    bool awaitPeerClose(double seconds);
    // A graceful close of a stream ends sending and waits up to 2 seconds for the peer to close, which detect-close
    // notices; else what is pending is read away, since closing over it would destroy what the peer has not read
    // yet. False when the peer did not close in time. The error is gone then; the addresses can still be asked for,
    // until another socket is created.
    bool close(bool graceful);

    // What was moved, or -1. At the end of a stream, receiving answers 0.
    std::int64_t receive(void* bytes, std::uint32_t count);
    std::int64_t send(const void* bytes, std::uint32_t count);
    // One datagram, cut to `count`. A sender that the system does not tell is the peer.
    std::int64_t receiveFrom(kxSocketAddress& sender, void* bytes, std::uint32_t count);
    // Takes an empty datagram that is the first of those that wait, and which bytesAvailable() cannot tell from none.
    // False when there is none.
    bool dropEmptyDatagram();
    // An empty destination or 0.0.0.0 fails as in connect().
    std::int64_t sendTo(const kxSocketAddress& destination, const void* bytes, std::uint32_t count);
    // As send() and sendTo(), but a failure is only told and not recorded. A stream may be sent to while somebody else
    // reads it.
    kxPlatformSocketResult trySend(const void* bytes, std::uint32_t count) const;
    kxPlatformSocketResult trySendTo(const kxSocketAddress& destination, const void* bytes,
                                     std::uint32_t count) const;
    // Records a failure that was only told, other than KX_SOCKET_WOULD_BLOCK; answers whether it was none.
    bool record(kxSocketError outcome);

    // Bytes that can be read now, or those of the first datagram; 0 after an error.
    std::uint32_t bytesAvailable();
    // Whether the socket is open, free of errors and, with detect-close, not closed by its peer.
    bool isActive();
    // The same, and how many bytes of a stream are ready.
    bool isActive(std::uint32_t& bytesReady);
    // Whether the socket can be read, by the end of a stream too, within the time.
    bool waitForData(std::uint32_t milliseconds);
    bool waitForRoom(std::uint32_t milliseconds);

    // The value is that of kxSocketOption. A closed socket and an unknown option fail with KX_SOCKET_BAD_OPTION.
    // Groups are joined and left on the interface that was set last, or that of the bound address.
    bool setOption(std::uint32_t option, std::uint32_t value);
    // The value is a number.
    bool setOption(std::uint32_t option, const kxDynamicType& value);
    // The same for an option that the socket can do without: a failure is only told, and an interface not remembered.
    // Groups are joined and left on the interface given, of which 0 is the system's choice.
    kxSocketError trySetOption(std::uint32_t option, std::uint32_t value,
                               std::uint32_t groupInterface = 0) const;
    // Off: receiving, sending and connecting never wait. On in a new socket.
    bool setBlocking(bool blocks);
    // Whether a stream that can be read and has nothing to read is taken as closed. Off in a new socket.
    void setDetectClose(bool detects) { detectsClose_ = detects; }
    void setThrowOnError(bool throws) { throwsOnError_ = throws; }

    std::uint32_t error() const { return error_.load(std::memory_order_relaxed); }
    const char* errorText() const { return errorText(error()); }
    bool isOpen() const { return descriptor_ != KX_PLATFORM_NO_SOCKET; }
    // For waits without the guard of the socket; KX_PLATFORM_NO_SOCKET when closed.
    kxPlatformSocketHandle descriptor() const { return descriptor_; }
    kxSocketKind kind() const { return kind_; }
    const kxSocketAddress& localAddress() const { return localAddress_; }
    kxHostAddress hostAddress() const { return localAddress_.host(); }
    const kxSocketAddress& peerAddress() const { return peerAddress_; }

    // Posts and delivers at most 100 datagrams, or chunks of a stream. One that the socket has sent itself ends the
    // tick. Answers whether there were any.
    bool tick() override;

    // A buffer for the use of whoever reads the socket, 1000 bytes at first.
    kxArray<std::uint8_t>& receiveBuffer() { return receiveBuffer_; }

private:
    bool setErrorCode(kxSocketError code);
    bool recordAny(kxSocketError outcome);
    bool postOne();
    std::int64_t counted(const kxPlatformSocketResult& result);
    std::int64_t sent(const kxPlatformSocketResult& result);
    std::uint32_t pendingBytes();
    bool hasClosedPeer();
    bool readUntilPeerCloses();
    void readAway(std::int64_t count);
    void reset();

    kxPlatformSocketHandle descriptor_ = KX_PLATFORM_NO_SOCKET;
    std::atomic<std::uint32_t> error_{KX_SOCKET_OK};
    bool throwsOnError_ = false;
    bool detectsClose_ = false;
    kxSocketFamily family_ = KX_SOCKET_IPV4;
    kxSocketKind kind_ = KX_SOCKET_NO_KIND;
    kxSocketAddress localAddress_;
    kxSocketAddress peerAddress_;
    kxSocketAddress attempted_;  // where an attempt to connect goes on to; empty when none does
    kxArray<std::uint8_t> receiveBuffer_;
    std::uint32_t multicastInterface_ = 0;  // 0: the one of the bound address
    bool hadBytesReady_ = false;            // at the last look
};
