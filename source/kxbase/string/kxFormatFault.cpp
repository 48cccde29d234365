#include "kxbase/string/kxFormatFault.h"

#include "kxbase/core/kxMessage.h"

#include <utility>

namespace {

// A receiver whose own format is faulty would otherwise multiply the messages at every level.
constexpr std::uint32_t kDeepestNesting = 4;

thread_local bool isSilent = false;  // the text of a message about a fault is being made
thread_local std::uint32_t depth = 0;

// A receiver may throw.
struct SendingScope {
    SendingScope() noexcept
    {
        isSilent = true;
        ++depth;
    }
    ~SendingScope()
    {
        isSilent = false;
        --depth;
    }
    SendingScope(const SendingScope&) = delete;
    SendingScope& operator=(const SendingScope&) = delete;
};

}  // namespace

void kxSendFormatFault(std::uint32_t level, std::string_view text, kxArgumentView arguments)
{
    if (isSilent || depth == kDeepestNesting) return;
    const SendingScope scope;
    kxSendMessage(level, text, arguments);
}

kxFormatFaultReceiving::kxFormatFaultReceiving() noexcept : wasSilent_(std::exchange(isSilent, false)) {}

kxFormatFaultReceiving::~kxFormatFaultReceiving()
{
    isSilent = wasSilent_;
}
