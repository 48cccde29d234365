#include "kxbase/message/DefaultMessageReceiver.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/message/kxMessagePrefix.h"

#include <cstdio>

namespace {

constexpr std::size_t kLineBufferBytes = 1024;

}  // namespace

void DefaultMessageReceiver::receive(const kxString& sender, std::uint32_t level, const kxString& text)
{
    if (!enabled_.load(std::memory_order_relaxed)) return;
    // Translating may send messages, which must find the console free.
    const kxString prefix = kxTranslate(kxMessagePrefix(level));
    char line[kLineBufferBytes];
    std::snprintf(line, sizeof(line), "%s%s", sender.text(), prefix.text());

    const kxBodyGuard guard(console_);
    std::fprintf(stdout, "\r%s", line);
    std::fwrite(text.text(), 1, text.length(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}
