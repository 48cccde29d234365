// The fault that a crash signal stands for.
#pragma once

#include <csignal>
#include <cstdint>

// The signals that a fault sends.
inline constexpr int KX_POSIX_FAULT_SIGNALS[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT};
// Those of them that end the process at once when they are blocked. SIGABRT is only sent, and abort() lets it through by
// itself.
inline constexpr int KX_POSIX_UNBLOCKABLE_FAULT_SIGNALS[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};
// A process that ends because of a signal, but not by it, has this more than the signal's number as its status.
inline constexpr int KX_POSIX_STATUS_OF_SIGNAL = 128;

// One of kxPlatformFault, from what the system says of it.
std::uint32_t kxPosixFaultOf(const siginfo_t& info);
// The same more exactly, where the instruction and the registers tell more than the system does. Reads the instruction
// that the context of the handler stands at, and may fault itself.
std::uint32_t kxPosixExactFault(std::uint32_t fault, const siginfo_t& info, const void* context);
// Whether the instruction that faulted will fault again when the handler returns.
bool kxPosixFaultsAgain(const siginfo_t& info);
