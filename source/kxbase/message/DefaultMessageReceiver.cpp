#include "kxbase/message/DefaultMessageReceiver.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/message/kxConsoleMutex.h"
#include "kxbase/message/kxMessageLevelNames.h"
#include "kxbase/platform/kxPlatformDialog.h"

#include <cstdio>

namespace {

constexpr std::size_t kLineBufferBytes = 1024;
constexpr const char* kAssertTitle = "KorvexSDK Assert";
constexpr const char* kAssertFormat = "\n%s\n\n%s\n\n%s";
constexpr const char* kAssertRetry = "---- Press 'Retry' to debug  ----";
constexpr const char* kAssertIgnore = "---- Press 'Ignore' to continue execution  ----";

bool isAssertion(std::uint32_t level)
{
    return (level & KX_MESSAGE_LEVEL_NIBBLE) == KX_MESSAGE_ASSERT;
}

}  // namespace

void DefaultMessageReceiver::receive(const kxString& sender, std::uint32_t level, const kxString& text)
{
    if (!enabled_.load(std::memory_order_relaxed)) return;
    print(sender, level, text);
    if (isAssertion(level)) askAboutAssertion(text);
}

void DefaultMessageReceiver::print(const kxString& sender, std::uint32_t level, const kxString& text)
{
    // Translating may send messages, which must find the console free.
    const kxString prefix = kxTranslate(kxMessagePrefix(level));
    char line[kLineBufferBytes];
    std::snprintf(line, sizeof(line), "%s%s", sender.text(), prefix.text());

    const kxBodyGuard guard(kxConsoleMutex());
    std::fprintf(stdout, "\r%s", line);
    std::fwrite(text.text(), 1, text.length(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

void DefaultMessageReceiver::askAboutAssertion(const kxString& text)
{
    const kxString question = kxString::format(kAssertFormat, text, kAssertRetry, kAssertIgnore);
    if (dialog_.load()->ask(kAssertTitle, question) == KX_ASSERT_RETRY) kxPlatformBreak();
}
