#include "kxbase/serialize/kxStreamInput.h"

#include "kxbase/platform/kxPlatformWait.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

constexpr std::uint32_t kMostAtOnce = std::numeric_limits<std::uint32_t>::max();

}  // namespace

std::uint32_t kxStreamInput::length()
{
    if (hasEnded_) {
        passIdleLook();
        return 0;
    }
    const std::uint32_t ready = look(pace_.waitMilliseconds());
    if (ready == 0) pace_.foundNothing();
    return ready;
}

void kxStreamInput::passIdleLook()
{
    if (pace_.waitMilliseconds() != 0) kxPlatformSleep(pace_.waitMilliseconds());
    pace_.foundNothing();
}

std::uint32_t kxStreamInput::look(std::uint32_t waitMilliseconds)
{
    if (!ahead_.isEmpty()) return ahead_.length();
    if (hasEnded_) return 0;
    if (!std::exchange(leftIsKnown_, true)) bytesLeft_ = kxPlatformFileBytesLeft(source_);
    if (bytesLeft_ == KX_PLATFORM_UNKNOWN_SIZE) return lookAtSource(waitMilliseconds);
    hasEnded_ = bytesLeft_ == 0;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(bytesLeft_, kMostAtOnce));
}

std::uint32_t kxStreamInput::lookAtSource(std::uint32_t waitMilliseconds)
{
    const kxPlatformReady ready = kxPlatformFileLook(source_, waitMilliseconds);
    if (ready.readiness != KX_PLATFORM_READ_TO_KNOW) return ready.count;
    ahead_.commit(readSource(ahead_.room(readAheadBytes_), readAheadBytes_));
    return ahead_.length();
}

std::uint32_t kxStreamInput::readReady(std::uint8_t* bytes, std::uint32_t count)
{
    std::uint32_t taken = 0;
    while (taken < count) {
        const std::uint32_t ready = look(0);
        if (ready == 0) break;
        taken += read(bytes + taken, std::min(ready, count - taken));
    }
    return taken;
}

std::uint32_t kxStreamInput::read(std::uint8_t* bytes, std::uint32_t count)
{
    pace_.moved();
    return ahead_.isEmpty() ? readSource(bytes, count) : ahead_.take(bytes, count);
}

std::uint32_t kxStreamInput::readSource(std::uint8_t* bytes, std::uint32_t count)
{
    if (hasEnded_ || count == 0) return 0;
    const kxPlatformIoResult result = kxPlatformFileRead(
        source_, bytes, static_cast<std::size_t>(std::min<std::uint64_t>(count, bytesLeft_)));
    if (result.count > 0) {
        if (bytesLeft_ != KX_PLATFORM_UNKNOWN_SIZE) bytesLeft_ -= static_cast<std::uint64_t>(result.count);
        return static_cast<std::uint32_t>(result.count);
    }
    hasEnded_ = true;
    error_ = result.error;
    return 0;
}
