#include "kxbase/thread/kxChangeTurn.h"

#include "kxbase/platform/kxPlatformWait.h"

namespace {

constexpr std::uint32_t kLongestStandingBackMilliseconds = 1000;

}  // namespace

kxChangeTurn::Announced::Announced(kxChangeTurn& turn) noexcept : turn_(turn)
{
    ++turn_.lastTicket_;
    ++turn_.waiting_;
}

kxChangeTurn::Announced::~Announced()
{
    --turn_.waiting_;
    kxPlatformWakeAll(turn_.waiting_);
}

void kxChangeTurn::letPass(std::uint32_t& vainTicket) const
{
    const std::uint32_t waiting = waiting_.load();
    const std::uint32_t ticket = lastTicket_.load();
    if (waiting == 0 || ticket == vainTicket) return;
    if (!kxPlatformWaitWhile(waiting_, waiting, kLongestStandingBackMilliseconds)) vainTicket = ticket;
}
