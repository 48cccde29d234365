#include "kxbase/platform/posix/kxPosixFault.h"

#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/platform/posix/kxPosixStackWalk.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr int kAnyCode = -1000;

// The first row that fits counts.
constexpr struct {
    int signal;
    int code;
    kxPlatformFault fault;
} kFaults[] = {
#ifdef SEGV_BNDERR
    {SIGSEGV, SEGV_BNDERR, KX_FAULT_ARRAY_BOUNDS},
#endif
    {SIGSEGV, kAnyCode, KX_FAULT_ACCESS_VIOLATION},
    {SIGBUS, BUS_ADRALN, KX_FAULT_DATATYPE_MISALIGNMENT},
    {SIGBUS, kAnyCode, KX_FAULT_ACCESS_VIOLATION},
    {SIGFPE, FPE_INTOVF, KX_FAULT_INT_OVERFLOW},
    {SIGFPE, FPE_FLTDIV, KX_FAULT_FLT_DIVIDE_BY_ZERO},
    {SIGFPE, FPE_FLTOVF, KX_FAULT_FLT_OVERFLOW},
    {SIGFPE, FPE_FLTUND, KX_FAULT_FLT_UNDERFLOW},
    {SIGFPE, FPE_FLTRES, KX_FAULT_FLT_INEXACT_RESULT},
    {SIGFPE, FPE_FLTINV, KX_FAULT_FLT_INVALID_OPERATION},
    {SIGFPE, FPE_FLTSUB, KX_FAULT_ARRAY_BOUNDS},
    {SIGFPE, kAnyCode, KX_FAULT_INT_DIVIDE_BY_ZERO},
    {SIGILL, ILL_PRVOPC, KX_FAULT_PRIV_INSTRUCTION},
    {SIGILL, ILL_PRVREG, KX_FAULT_PRIV_INSTRUCTION},
    {SIGILL, ILL_BADSTK, KX_FAULT_FLT_STACK_CHECK},
    {SIGILL, kAnyCode, KX_FAULT_ILLEGAL_INSTRUCTION},
    {SIGTRAP, TRAP_TRACE, KX_FAULT_SINGLE_STEP},
    {SIGTRAP, kAnyCode, KX_FAULT_BREAKPOINT},
    {SIGABRT, kAnyCode, KX_FAULT_NONCONTINUABLE},
};

}  // namespace

std::uint32_t kxPosixFaultOf(const siginfo_t& info)
{
    for (const auto& row : kFaults) {
        if (row.signal == info.si_signo && (row.code == info.si_code || row.code == kAnyCode))
            return row.fault;
    }
    return KX_FAULT_NONCONTINUABLE;
}

bool kxPosixIsPrivilegedInstruction(const siginfo_t& info, const void* context)
{
#if defined(__x86_64__)
    constexpr unsigned char kPrivileged[] = {0xF4, 0xFA, 0xFB};  // hlt, cli, sti
    if (info.si_signo != SIGSEGV || info.si_code != SI_KERNEL || info.si_addr != nullptr) return false;
    const auto* const instruction = reinterpret_cast<const unsigned char*>(kxPosixProgramCounter(context));
    return std::find(std::begin(kPrivileged), std::end(kPrivileged), *instruction) != std::end(kPrivileged);
#else
    (void)info, (void)context;
    return false;
#endif
}

bool kxPosixFaultsAgain(const siginfo_t& info)
{
    return info.si_code > 0 && info.si_signo != SIGTRAP && info.si_signo != SIGABRT;
}
