// The client end of a TCP connection, scheme "tcp:".
//
//   tcp:host[:port][?options]
//
// Opening connects and takes at most 3 seconds. Options: blocking, timeout, no_nic, nic.
//
// A write returns when the system has taken all bytes; while the peer does not, input that arrives meanwhile is
// queued, so that two ends that wait for each other come to an end. Up to 256 MB are queued unread.
//
// Ownership: owns the connection. An adapter that has written waits in its destructor up to a second for the peer to
//            close, since unread input would destroy what the peer has not received yet.
// Threads:   one thread may write while others read.
// Errors:    what fails while opening is the error text. After a failed write, which a Warning tells, further writes
//            are lost; what has arrived can still be read. Once nothing is left to read and the connection has ended,
//            hasError() sets the text "IP connection closed".
#pragma once

#include "kxbase/net/kxNetUrl.h"
#include "kxbase/net/kxSerializeAdapterNet.h"

class kxSerializeAdapterTCP : public kxSerializeAdapterNet {
public:
    // The URL without its scheme; an empty one opens nothing. When opening fails, `errorOut` receives which URL could
    // not be opened and getError() why.
    explicit kxSerializeAdapterTCP(const kxString& url, kxString* errorOut = nullptr);
    ~kxSerializeAdapterTCP() noexcept(false) override;
    const kxType& getType() const override;

    // Closes a connection that is open and makes another; while no other thread uses the adapter.
    bool open(const kxString& url);
    // The interface that connections are bound to from now on, by address or name; empty for the choice of the URL.
    void setInterface(const kxString& text) { interfaceText_ = text; }

    // Whether the connection is alive.
    bool isActive() override;
    void writeBlock(const void* bytes, std::uint32_t count) override;

    // Error codes of the connection and of the first write that failed.
    std::uint32_t getSocketError() const { return connection_.error(); }
    std::uint32_t getSendError() const { return sendError_.load(std::memory_order_relaxed); }

protected:
    bool isReceiving() override;
    std::uint32_t look() override;
    std::uint32_t take(std::uint8_t* bytes, std::uint32_t count) override;
    kxPlatformSocketHandle receivingSocket() const override;
    void closeReceiving() override;

private:
    void forget();
    void prepareSocket();
    bool bindTo(const kxString& interfaceText, const kxNetUrl& url);
    bool connectTo(const kxSocketAddress& destination, const kxString& url);
    void tuneConnection();
    void closeConnection();
    void receivePending();
    std::uint32_t takeFromSocket(std::uint8_t* bytes, std::uint32_t count);
    void sendAll(const std::uint8_t* begin, std::uint32_t count);
    void takeInputUntilRoom();

    kxString interfaceText_;
    // Taken before the lock for reading where both are needed.
    kxMutex writeLock_{true};
    kxSocket connection_;
    std::atomic<std::uint32_t> sendError_{KX_SOCKET_OK};
    bool hasSent_ = false;
    std::uint32_t foundInSocket_ = 0;  // by the last look, if nothing was taken since; under the lock
};
