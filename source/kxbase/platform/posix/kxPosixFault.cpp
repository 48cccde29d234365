#include "kxbase/platform/posix/kxPosixFault.h"

#include "kxbase/platform/kxPlatformCrash.h"
#include "kxbase/platform/posix/kxPosixStackWalk.h"

#include <algorithm>
#include <iterator>

#include <ucontext.h>

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

#if defined(__x86_64__)

struct ByteRange {
    std::uint8_t first, last;
};
constexpr ByteRange kPrefixes[] = {{0x26, 0x26}, {0x2E, 0x2E}, {0x36, 0x36}, {0x3E, 0x3E},
                                   {0x40, 0x4F}, {0x64, 0x67}, {0xF0, 0xF0}, {0xF2, 0xF3}};
// Instructions that a program may not use: ins, outs; in, out; hlt; cli, sti.
constexpr ByteRange kPrivileged[] = {{0x6C, 0x6F}, {0xE4, 0xE7}, {0xEC, 0xEF}, {0xF4, 0xF4}, {0xFA, 0xFB}};
// Behind 0F: clts, sysret, invd, wbinvd; mov of control and debug registers; wrmsr; rdmsr, rdpmc; sysexit.
constexpr ByteRange kPrivileged0F[] = {{0x06, 0x09}, {0x20, 0x23}, {0x30, 0x30}, {0x32, 0x33}, {0x35, 0x35}};
// Behind 0F 01, without memory: xsetbv; lmsw, swapgs.
constexpr ByteRange kPrivileged0F01[] = {{0xD1, 0xD1}, {0xF0, 0xF8}};
// Behind 0F, told apart by the digit in the byte that follows.
constexpr struct {
    std::uint8_t second, digit;
} kPrivilegedDigits[] = {
    {0x00, 2},  // lldt
    {0x00, 3},  // ltr
    {0x01, 2},  // lgdt
    {0x01, 3},  // lidt
    {0x01, 6},  // lmsw
    {0x01, 7},  // invlpg
    {0xC7, 3},  // xrstors
    {0xC7, 5},  // xsaves
};
// Behind 0F 38: invpcid.
constexpr ByteRange kPrivileged0F38[] = {{0x82, 0x82}};

template <std::size_t kCount> bool isIn(const ByteRange (&ranges)[kCount], std::uint8_t byte)
{
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [=](ByteRange range) { return range.first <= byte && byte <= range.last; });
}

// Reads no byte that the instruction does not have.
bool isPrivileged(const std::uint8_t* code)
{
    while (isIn(kPrefixes, *code)) ++code;
    if (*code != 0x0F) return isIn(kPrivileged, *code);
    const std::uint8_t second = *++code;
    const std::uint8_t* const operand = code + 1;
    if (second == 0x38) return isIn(kPrivileged0F38, *operand);
    if (second == 0x01 && *operand >= 0xC0) return isIn(kPrivileged0F01, *operand);
    return isIn(kPrivileged0F, second) ||
           std::any_of(std::begin(kPrivilegedDigits), std::end(kPrivilegedDigits), [=](const auto& row) {
               return row.second == second && row.digit == (*operand >> 3 & 7);
           });
}

// The processor tells of these in the way of a bad address, without one.
bool isPrivilegedInstruction(const siginfo_t& info, const ucontext_t& context)
{
    if (info.si_signo != SIGSEGV || info.si_code != SI_KERNEL || info.si_addr != nullptr) return false;
    return isPrivileged(reinterpret_cast<const std::uint8_t*>(kxPosixProgramCounter(&context)));
}

// Flags of the floating-point units, with the same bits in the words of both; the last stands in one only.
enum FloatFlag : std::uint32_t { INVALID = 0x01, DENORMAL = 0x02, UNDERFLOW = 0x10, STACK = 0x40 };
constexpr int kMaskShift = 7;  // of the masks in the word of the vector unit, which has flags below them

// The system reports a denormal operand as an underflow.
bool isDenormal(const siginfo_t&, const ucontext_t& context)
{
    const auto* const units = context.uc_mcontext.fpregs;
    if (units == nullptr) return false;
    const std::uint32_t vectorFlags = units->mxcsr & ~(units->mxcsr >> kMaskShift);
    const std::uint32_t stackFlags = units->swd & ~std::uint32_t{units->cwd};
    return ((vectorFlags | stackFlags) & (DENORMAL | UNDERFLOW)) == DENORMAL;
}

bool isStackFault(const siginfo_t&, const ucontext_t& context)
{
    const auto* const units = context.uc_mcontext.fpregs;
    return units != nullptr && (units->cwd & INVALID) == 0 &&
           (units->swd & (INVALID | STACK)) == (INVALID | STACK);
}

constexpr struct {
    kxPlatformFault fault;
    bool (*applies)(const siginfo_t& info, const ucontext_t& context);
    kxPlatformFault exact;
} kExactFaults[] = {
    {KX_FAULT_ACCESS_VIOLATION, isPrivilegedInstruction, KX_FAULT_PRIV_INSTRUCTION},
    {KX_FAULT_FLT_UNDERFLOW, isDenormal, KX_FAULT_FLT_DENORMAL_OPERAND},
    {KX_FAULT_FLT_INVALID_OPERATION, isStackFault, KX_FAULT_FLT_STACK_CHECK},
};

#endif

}  // namespace

std::uint32_t kxPosixFaultOf(const siginfo_t& info)
{
    for (const auto& row : kFaults) {
        if (row.signal == info.si_signo && (row.code == info.si_code || row.code == kAnyCode))
            return row.fault;
    }
    return KX_FAULT_NONCONTINUABLE;
}

std::uint32_t kxPosixExactFault(std::uint32_t fault, const siginfo_t& info, const void* context)
{
#if defined(__x86_64__)
    for (const auto& row : kExactFaults)
        if (row.fault == fault && row.applies(info, *static_cast<const ucontext_t*>(context)))
            return row.exact;
#else
    (void)info, (void)context;
#endif
    return fault;
}

bool kxPosixFaultsAgain(const siginfo_t& info)
{
    return info.si_code > 0 && info.si_signo != SIGTRAP && info.si_signo != SIGABRT;
}
