#include "kxbase/message/kxMessageFileReceiver.h"

#include "kxbase/core/kxBodyGuard.h"
#include "kxbase/core/kxCivilTime.h"
#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxForkCount.h"
#include "kxbase/core/kxMessage.h"
#include "kxbase/core/kxProcessMutex.h"
#include "kxbase/message/kxMessageLevelNames.h"

#include <cstdio>
#include <utility>

namespace {

constexpr std::size_t kMostPendingBytes = 65536;

kxMutex& sharedMutex()
{
    return kxProcessMutex<kxMessageFileReceiver>();
}

std::string timeText(double secondsSince1970)
{
    const kxCivilTime time = kxCivilTime::at(static_cast<std::int64_t>(secondsSince1970 * 1000));
    char text[64];
    std::snprintf(text, sizeof(text), "%04d-%02u-%02uT%02u:%02u:%02u.%03uZ", time.year, time.month, time.day,
                  time.hour, time.minute, time.second, time.millisecond);
    return text;
}

bool isUrgent(std::uint32_t level)
{
    return (level & KX_MESSAGE_LEVEL_NIBBLE) >= KX_MESSAGE_WARNING;
}

}  // namespace

kxMessageFileReceiver::kxMessageFileReceiver(const kxString& fileName)
    : fileName_(fileName), forksBefore_(kxForkCount())
{
    const kxPlatformFileOpened opened = kxPlatformFileOpenWrite(fileName_.text(), KX_PLATFORM_APPEND);
    file_ = opened.file;
    if (!isOpen()) report(opened.error);
}

kxMessageFileReceiver::~kxMessageFileReceiver() noexcept
{
    flush();
    if (isOpen()) kxPlatformFileClose(file_);
}

void kxMessageFileReceiver::receive(const kxString& sender, std::uint32_t level, const kxString& text)
{
    if (!isOpen()) return;
    std::string line = timeText(kxClock::seconds());
    line.append(" ").append(sender.view()).append(kxMessagePrefix(level)).append(text.view()).append("\n");
    if (!keep(line) || isUrgent(level)) flush();
}

void kxMessageFileReceiver::leaveToParent()
{
    const std::uint32_t forks = kxForkCount();
    if (std::exchange(forksBefore_, forks) != forks) pending_.clear();
}

// Answers whether there is room for more.
bool kxMessageFileReceiver::keep(const std::string& line)
{
    const kxBodyGuard guard(sharedMutex());
    leaveToParent();
    if (!isFailing_ || pending_.size() + line.size() <= kMostPendingBytes) pending_ += line;
    return pending_.size() < kMostPendingBytes;
}

void kxMessageFileReceiver::flush()
{
    if (const kxPlatformError error = writeOut()) report(error);
}

// Answers a failure that has not been reported yet.
kxPlatformError kxMessageFileReceiver::writeOut()
{
    const kxBodyGuard guard(sharedMutex());
    leaveToParent();
    if (pending_.empty() || !isOpen()) return 0;
    const kxPlatformIoResult result = kxPlatformFileWrite(file_, pending_.data(), pending_.size());
    pending_.erase(0, static_cast<std::size_t>(result.count));
    const bool wasFailing = isFailing_;
    isFailing_ = result.error != 0;
    return wasFailing ? 0 : result.error;
}

void kxMessageFileReceiver::report(kxPlatformError error) const
{
    char reason[256];
    kxPlatformErrorText(error, reason, sizeof(reason));
    kxMessage(KX_MESSAGE_WARNING, isOpen() ? "Could not write to '%s' (%s)" : "Could not open '%s' (%s)",
              fileName_, reason);
}
