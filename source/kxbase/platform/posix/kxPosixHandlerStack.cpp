#include "kxbase/platform/posix/kxPosixHandlerStack.h"

#include <atomic>
#include <csignal>

bool kxPosixHandlerStack::isMissing()
{
    stack_t present{};
    return ::sigaltstack(nullptr, &present) == 0 && (present.ss_flags & SS_DISABLE) != 0;
}

void kxPosixHandlerStack::give()
{
    stack_t own{};
    own.ss_sp = room_;
    own.ss_size = sizeof(room_);
    ::sigaltstack(&own, nullptr);
}

void kxPosixHandlerStack::takeAway()
{
    stack_t none{};
    none.ss_flags = SS_DISABLE;
    ::sigaltstack(&none, nullptr);
}

void kxPosixInstallHandlerStack()
{
    static kxPosixHandlerStack stack;
    static std::atomic<bool> isTaken{false};
    if (kxPosixHandlerStack::isMissing() && !isTaken.exchange(true)) stack.give();
}
