#include "kxbase/platform/posix/kxPosixHandlerStack.h"

#include <atomic>
#include <csignal>

namespace {

constexpr std::size_t kStackBytes = 64 * 1024;

}  // namespace

void kxPosixInstallHandlerStack()
{
    static char room[kStackBytes];
    static std::atomic<bool> isTaken{false};
    stack_t present{};
    if (::sigaltstack(nullptr, &present) != 0 || (present.ss_flags & SS_DISABLE) == 0) return;
    if (isTaken.exchange(true)) return;
    stack_t own{};
    own.ss_sp = room;
    own.ss_size = sizeof(room);
    ::sigaltstack(&own, nullptr);
}
