// The reading side of the adapters over sockets: what arrives is queued in records and read as one stream of
// bytes; the sizes of datagrams and chunks are not kept.
//
// Blocking, a read waits for all that was asked for, and length() for the first byte, pushed-back ones included. When
// nothing has come for the time-out, the receiving side is closed, and everything after it answers 0. Not blocking,
// both take what is there.
//
// What is called in which order:
//
//   readBlock       take, and while bytes are missing, bytesReady and take again
//   getDataLength   bytesReady, and when there are none, lookIdly; only look when bytes are pushed back
//   bytesReady      look; when blocking and in vain, waitForInput and look again, at last closeReceiving
//   look, take      the queue, and the poll, which is receivePending() of each adapter: it moves what the socket has
//                   into the queue. Large reads of a stream pass the queue by
//
// Idle: a loop over length(), such as a relay's, must not burn a processor. After kFreeLooks that found nothing, each
// further one waits up to a millisecond, for the sockets of both ends of the loop at once: this adapter's and the one
// that the thread has looked at before in vain. The latter, lastIdleSocket, is one for all adapters of a thread: input
// of a third one ends no wait. Bytes read or written make the looks free again.
//
// Threads: several threads may read; the lock guards the queue, the receiving side and the error text, and is not
//          held while a thread waits for input. Bytes are pushed back only while one thread reads.
// Errors:  once everything has been read and no more can come, hasError() sets the text "IP connection closed".
#pragma once

#include "kxbase/core/kxMutex.h"
#include "kxbase/net/kxNetQueue.h"
#include "kxbase/net/kxSocket.h"
#include "kxbase/serialize/kxErrorText.h"
#include "kxbase/serialize/kxIdlePace.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

class kxSerializeAdapterNet : public kxSerializeAdapter {
public:
    bool hasEnd() const override { return true; }
    bool hasError() override;
    kxString getError() override;
    void setError(const kxString& text) override;
    // Throws pushed-back bytes away, which belong to the readers; without any, a writer may flush meanwhile.
    std::uint32_t flush() override;
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override;
    // Answers 0 when no byte came.
    std::uint8_t readByte() override;
    std::uint32_t getDataLength() override;
    void writeByte(std::uint8_t byte) override { writeBlock(&byte, 1); }

    bool isBlocking() const { return blocking_; }
    double getTimeout() const { return timeoutSeconds_; }

protected:
    kxSerializeAdapterNet() = default;

    // These are called under the lock and never wait.

    // Whether more can come: hasError() tells the end once this is false and nothing is left to read.
    virtual bool isReceiving() = 0;
    // Bytes that can be read now, of the queue and of what has arrived since, which may be queued on the way.
    virtual std::uint32_t look() = 0;
    // Takes what is ready, up to `count` bytes; answers how much.
    virtual std::uint32_t take(std::uint8_t* bytes, std::uint32_t count) = 0;
    // The socket that is received from, or KX_PLATFORM_NO_SOCKET.
    virtual kxPlatformSocketHandle receivingSocket() const = 0;

    // Gives the receiving side up, because nothing came in time. Without the lock.
    virtual void closeReceiving() = 0;

    // For both sides, before the first read.
    void setWaiting(bool blocks, double timeoutSeconds);
    // Data went out: input is likely to follow.
    void noteWritten() { hasWritten_.store(true, std::memory_order_relaxed); }
    // Tells in a Warning that data is lost from now on. Without the lock.
    static void couldNotSend(const kxSocketAddress& destination, std::uint32_t error);
    // Makes the translated format the error text; answers false.
    template <typename... Arguments> bool fail(std::string_view format, const Arguments&... arguments)
    {
        setError(kxErrorText(format, arguments...));
        return false;
    }

    kxMutex lock_{true};
    kxNetQueue queue_;

private:
    std::uint32_t bytesReady();
    std::uint32_t lookIdly();
    void waitForInput(std::uint32_t milliseconds);

    bool blocking_ = true;
    double timeoutSeconds_ = 5.0;
    // Answers that come back at once find the looks still free: with a single free look round trips take a third
    // longer. More than a few hold the processor against the peer: with 20 the slowest hundredth takes half as long
    // again.
    static constexpr std::uint32_t kFreeLooks = 4;
    kxIdlePace pace_{kFreeLooks};
    std::atomic<bool> hasWritten_{false};
};
