// The fault that a crash signal stands for.
#pragma once

#include <csignal>
#include <cstdint>

// The signals that a fault sends.
inline constexpr int kxPosixFaultSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT};

// One of kxPlatformFault. The context is that of the handler.
std::uint32_t kxPosixFaultOf(const siginfo_t& info, const void* context);
// Whether the instruction that faulted will fault again when the handler returns.
bool kxPosixFaultsAgain(const siginfo_t& info);
