#include "kxbase/platform/posix/kxPosixStackWalk.h"

#include <ucontext.h>
#include <unwind.h>

namespace {

struct Walk {
    kxPlatformFrame* frames;
    std::uint32_t capacity;
    volatile std::uint32_t& count;
    std::uintptr_t start;  // frames before this address are those of the handler; 0 takes all
};

_Unwind_Reason_Code takeFrame(_Unwind_Context* context, void* argument)
{
    Walk& walk = *static_cast<Walk*>(argument);
    int isExact = 0;
    const std::uintptr_t address = _Unwind_GetIPInfo(context, &isExact);
    if (walk.start != 0 && address != walk.start) return _URC_NO_REASON;
    walk.start = 0;
    // The outermost frame has nowhere to return to.
    if (address == 0 || walk.count >= walk.capacity) return _URC_END_OF_STACK;
    walk.frames[walk.count] = {address, isExact == 0};
    walk.count = walk.count + 1;
    return _URC_NO_REASON;
}

// Makes the context look as if the call had not been made. The unwinder reads it from where it stands.
void returnFromCall(mcontext_t& machine)
{
#if defined(__x86_64__)
    greg_t& stack = machine.gregs[REG_RSP];
    machine.gregs[REG_RIP] = *reinterpret_cast<const greg_t*>(stack);
    stack += static_cast<greg_t>(sizeof(greg_t));
#elif defined(__aarch64__)
    constexpr int kLinkRegister = 30;
    machine.pc = machine.regs[kLinkRegister];
#else
    (void)machine;
#endif
}

}  // namespace

std::uintptr_t kxPosixProgramCounter(const void* context)
{
    const mcontext_t& machine = static_cast<const ucontext_t*>(context)->uc_mcontext;
#if defined(__x86_64__)
    return static_cast<std::uintptr_t>(machine.gregs[REG_RIP]);
#elif defined(__aarch64__)
    return machine.pc;
#else
    (void)machine;
    return 0;
#endif
}

void kxPosixWalkInterrupted(void* context, bool isBadCall, kxPlatformFrame* frames, std::uint32_t capacity,
                            volatile std::uint32_t& count)
{
    frames[0] = {kxPosixProgramCounter(context), false};
    if (isBadCall) returnFromCall(static_cast<ucontext_t*>(context)->uc_mcontext);
    const std::uint32_t first = isBadCall ? 1 : 0;
    count = first;
    Walk walk{frames, capacity, count, kxPosixProgramCounter(context)};
    _Unwind_Backtrace(takeFrame, &walk);
    // The unwinder takes the caller for what was interrupted.
    if (isBadCall && count > first) frames[first].isReturnAddress = true;
    if (count == 0) count = 1;
}

std::uint32_t kxPosixWalkFrom(std::uintptr_t address, kxPlatformFrame* frames, std::uint32_t capacity)
{
    volatile std::uint32_t count = 0;
    Walk walk{frames, capacity, count, address};
    _Unwind_Backtrace(takeFrame, &walk);
    return count;
}
