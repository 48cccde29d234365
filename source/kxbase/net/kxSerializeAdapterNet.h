// The reading side of the adapters over sockets: what arrives is queued in records and read as one stream of
// bytes; the sizes of datagrams and chunks are not kept.
//
// Blocking, a read waits for all that was asked for, and length() for the first byte. When nothing has come for
// the time-out, the receiving side is closed, and everything after it answers 0. Not blocking, both take what is
// there. A loop over length() that has found nothing many times waits up to a millisecond for input in each
// further call.
//
// Threads: several threads may read; the lock guards the queue and the receiving side and is never held while a
//          thread waits.
// Errors:  once everything has been read and no more can come, hasError() sets the text "IP connection closed".
#pragma once

#include "kxbase/core/kxMutex.h"
#include "kxbase/net/kxNetQueue.h"
#include "kxbase/net/kxSocket.h"
#include "kxbase/serialize/kxIdlePace.h"
#include "kxbase/serialize/kxSerializeAdapter.h"

class kxSerializeAdapterNet : public kxSerializeAdapter {
public:
    bool hasEnd() const override { return true; }
    bool hasError() override;
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override;
    // Answers 0 when no byte came.
    std::uint8_t readByte() override;
    std::uint32_t getDataLength() override;
    void writeByte(std::uint8_t byte) override { writeBlock(&byte, 1); }

    bool isBlocking() const { return blocking_; }
    double getTimeout() const { return timeoutSeconds_; }

protected:
    kxSerializeAdapterNet() = default;

    // Whether more can come. Under the lock.
    virtual bool isReceiving() = 0;
    // Bytes that can be read now, of the queue and of what has arrived since, which may be queued on the way; never
    // waits. Under the lock.
    virtual std::uint32_t look() = 0;
    // Takes what is ready, up to `count` bytes, without waiting; answers how much. Under the lock.
    virtual std::uint32_t take(std::uint8_t* bytes, std::uint32_t count) = 0;
    // The socket that is received from, or KX_PLATFORM_NO_SOCKET. Under the lock.
    virtual kxPlatformSocketHandle receivingSocket() const = 0;
    // Gives the receiving side up, because nothing came in time. Without the lock.
    virtual void closeReceiving() = 0;

    // For both sides, before the first read.
    void setWaiting(bool blocks, double timeoutSeconds);
    // Data went out: input is likely to follow.
    void noteWritten() { hasWritten_.store(true, std::memory_order_relaxed); }
    kxMutex lock_{true};
    kxNetQueue queue_;

private:
    std::uint32_t awaitData();
    std::uint32_t lookIdly();
    void waitForInput(std::uint32_t milliseconds);

    bool blocking_ = true;
    double timeoutSeconds_ = 5.0;
    // A wait for both ends ends with the first byte of either, so that few looks are worth making without one.
    static constexpr std::uint32_t kFreeLooks = 20;
    kxIdlePace pace_{kFreeLooks};
    std::atomic<bool> hasWritten_{false};
};
