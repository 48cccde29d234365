#include "kxbase/net/kxSerializeAdapterNet.h"

#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxQuietGuard.h"

#include <algorithm>
#include <utility>

namespace {

// Another thread may take in what this one waits for, so a wait is never long.
constexpr std::uint32_t kWaitMilliseconds = 20;

// Where this thread has looked last and found nothing, which is the other end of a loop; see "Idle" in the header. A
// socket that has been closed since does no harm.
thread_local kxPlatformSocketHandle lastIdleSocket = KX_PLATFORM_NO_SOCKET;

}  // namespace

void kxSerializeAdapterNet::setWaiting(bool blocks, double timeoutSeconds)
{
    blocking_ = blocks;
    timeoutSeconds_ = timeoutSeconds;
}

void kxSerializeAdapterNet::couldNotSend(const kxSocketAddress& destination, std::uint32_t error)
{
    kxMessage(KX_MESSAGE_WARNING, "Could not send to %s:%d (%s)", destination.host().text(),
              destination.port(), kxTranslate(kxSocket::errorText(error)));
}

bool kxSerializeAdapterNet::hasError()
{
    {
        const kxQuietGuard guard(lock_);
        if (kxSerializeAdapter::hasError()) return true;
        if (hasPushBack() || !queue_.isEmpty() || isReceiving()) return false;
    }
    setError(kxTranslate("IP connection closed"));
    return true;
}

kxString kxSerializeAdapterNet::getError()
{
    const kxQuietGuard guard(lock_);
    return kxSerializeAdapter::getError();
}

void kxSerializeAdapterNet::setError(const kxString& text)
{
    const kxQuietGuard guard(lock_);
    kxSerializeAdapter::setError(text);
}

std::uint32_t kxSerializeAdapterNet::flush()
{
    if (hasPushBack()) discardPushBack();
    return 0;
}

std::uint32_t kxSerializeAdapterNet::readBlock(void* bytes, std::uint32_t count)
{
    auto* const begin = static_cast<std::uint8_t*>(bytes);
    std::uint32_t taken = 0;
    for (;;) {
        {
            const kxQuietGuard guard(lock_);
            taken += take(begin + taken, count - taken);
        }
        if (taken == count || bytesReady() == 0) return taken;
    }
}

std::uint8_t kxSerializeAdapterNet::readByte()
{
    std::uint8_t byte = 0;
    readBlock(&byte, 1);
    return byte;
}

std::uint32_t kxSerializeAdapterNet::getDataLength()
{
    if (hasPushBack()) {
        // There is something to read already.
        const kxQuietGuard guard(lock_);
        return look();
    }
    std::uint32_t ready = bytesReady();
    if (ready == 0) ready = lookIdly();
    const kxQuietGuard guard(lock_);
    if (ready != 0)
        pace_.moved();
    else
        pace_.foundNothing();
    return ready;
}

// Bytes that can be read; for the first of them a blocking adapter waits.
std::uint32_t kxSerializeAdapterNet::bytesReady()
{
    const double start = blocking_ ? kxClock::seconds() : 0;
    for (;;) {
        {
            const kxQuietGuard guard(lock_);
            const std::uint32_t ready = look();
            if (ready != 0 || !blocking_ || !isReceiving()) return ready;
        }
        const double left = start + timeoutSeconds_ - kxClock::seconds();
        if (left < 0) {
            closeReceiving();
            return 0;
        }
        waitForInput(static_cast<std::uint32_t>(std::min<double>(left * 1000 + 1, kWaitMilliseconds)));
    }
}

// A look that finds nothing costs some time once many have found nothing, also where nothing can come any more.
std::uint32_t kxSerializeAdapterNet::lookIdly()
{
    std::uint32_t milliseconds = 0;
    kxPlatformSocketHandle socket = KX_PLATFORM_NO_SOCKET;
    {
        const kxQuietGuard guard(lock_);
        socket = receivingSocket();
        if (hasWritten_.load(std::memory_order_relaxed)) {
            hasWritten_.store(false, std::memory_order_relaxed);
            pace_.moved();
        }
        milliseconds = pace_.waitMilliseconds();
    }
    const kxPlatformSocketHandle other = std::exchange(lastIdleSocket, socket);
    if (milliseconds == 0) return 0;
    kxPlatformSocketWaitForEither(socket, other, milliseconds);
    const kxQuietGuard guard(lock_);
    return look();
}

void kxSerializeAdapterNet::waitForInput(std::uint32_t milliseconds)
{
    kxPlatformSocketHandle socket = KX_PLATFORM_NO_SOCKET;
    {
        const kxQuietGuard guard(lock_);
        socket = receivingSocket();
    }
    kxPlatformSocketWait(socket, KX_SOCKET_CAN_READ, milliseconds);
}
