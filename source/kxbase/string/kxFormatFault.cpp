#include "kxbase/string/kxFormatFault.h"

#include "kxbase/core/kxMessage.h"

namespace {

thread_local bool isSending = false;

// A receiver may throw.
struct SendingScope {
    SendingScope() noexcept { isSending = true; }
    ~SendingScope() { isSending = false; }
    SendingScope(const SendingScope&) = delete;
    SendingScope& operator=(const SendingScope&) = delete;
};

}  // namespace

void kxSendFormatFault(std::uint32_t level, std::string_view text, kxArgumentView arguments)
{
    if (isSending) return;
    const SendingScope scope;
    kxSendMessage(level, text, arguments);
}
