#include "kxbase/serialize/kxStreamInput.h"

#include <algorithm>
#include <cstring>

std::uint32_t kxStreamInput::look(std::uint32_t waitMilliseconds)
{
    if (aheadBegin_ != aheadEnd_) return aheadEnd_ - aheadBegin_;
    if (hasEnded_) return 0;

    const kxPlatformReady ready = kxPlatformFileLook(source_, waitMilliseconds);
    if (ready.readiness != KX_PLATFORM_READ_TO_KNOW) return ready.count;
    if (ahead_.size() < readAheadBytes_) ahead_.resize(readAheadBytes_);
    aheadBegin_ = 0;
    aheadEnd_ = readSource(ahead_.data(), readAheadBytes_);
    return aheadEnd_;
}

std::uint32_t kxStreamInput::read(void* bytes, std::uint32_t count)
{
    if (aheadBegin_ == aheadEnd_) return readSource(bytes, count);
    const std::uint32_t taken = std::min(count, aheadEnd_ - aheadBegin_);
    std::memcpy(bytes, ahead_.data() + aheadBegin_, taken);
    aheadBegin_ += taken;
    return taken;
}

std::uint32_t kxStreamInput::readSource(void* bytes, std::uint32_t count)
{
    if (hasEnded_ || count == 0) return 0;
    const kxPlatformIoResult result = kxPlatformFileRead(source_, bytes, count);
    if (result.count > 0) return static_cast<std::uint32_t>(result.count);
    hasEnded_ = true;
    error_ = result.error;
    return 0;
}
