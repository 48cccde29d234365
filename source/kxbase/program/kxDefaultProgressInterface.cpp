#include "kxbase/program/kxDefaultProgressInterface.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/message/kxConsoleMutex.h"
#include "kxbase/platform/kxPlatformConsole.h"
#include "kxbase/string/kxUtf.h"

#include <cstdio>

namespace {

constexpr std::int32_t kComplete = 100;
constexpr const char* kOpenEnd = "\r";
constexpr const char* kLastEnd = "                               \n";

std::string lineOf(std::int32_t percentage, const kxString& text)
{
    std::string line("\r");
    line.append(text.view()).append(":Progress ").append(std::to_string(percentage)).append("%\t\t");
    return line.append(percentage < kComplete ? kOpenEnd : kLastEnd);
}

}  // namespace

void kxDefaultProgressInterface::progress(std::int32_t percentage, const kxString& text)
{
    const Shown next{percentage, std::string(text.view().substr(0, kxUtfPrefix(text.view(), 1)))};
    const kxBodyGuard guard(kxConsoleMutex());
    if (shown_ == next) return;
    const std::string line = lineOf(percentage, text);
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
    shown_ = next;
}

bool kxDefaultProgressInterface::isOnTerminal()
{
    return kxPlatformConsoleIsTerminal(kxPlatformConsoleOutput());
}
