// Ends in the way that its argument names.

#include "kxbase/program/kxProgramExecution.h"
#include "kxbase/thread/kxThread.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <sys/wait.h>
#include <unistd.h>

// A function that the tests look for in the file.
#define KX_CRASH_SITE(name, ...)                                                                             \
    __attribute__((noinline, no_sanitize("undefined", "address"))) void name()                               \
    {                                                                                                        \
        __VA_ARGS__;                                                                                         \
    }

namespace kxCrasher {

volatile int zero = 0;
volatile int sink = 0;
void (*volatile nothing)() = nullptr;

KX_CRASH_SITE(readNull, sink = *static_cast<volatile int*>(nullptr))
KX_CRASH_SITE(callNull, nothing(); sink = 1)
KX_CRASH_SITE(divideByZero, sink = 100 / zero)
KX_CRASH_SITE(abortProgram, std::abort())
KX_CRASH_SITE(stopInDebugger, std::raise(SIGTRAP))
KX_CRASH_SITE(throwError, throw std::runtime_error("thrown on purpose"))
KX_CRASH_SITE(killItself, ::kill(::getpid(), SIGSEGV); for (;;)::pause())
KX_CRASH_SITE(overflowStack, volatile char room[4096]; room[0] = 1; if (zero == 0) overflowStack();
              sink = room[0])
#if defined(__x86_64__)
KX_CRASH_SITE(illegalInstruction, asm volatile("ud2"))
KX_CRASH_SITE(privilegedInstruction, asm volatile("hlt"))
KX_CRASH_SITE(readMisaligned, asm volatile("pushfq; orq $0x40000, (%%rsp); popfq; movl 1(%%rsp), %%eax"
                                           :
                                           :
                                           : "eax", "memory", "cc"))
#endif
// The allocator finds the second release when it looks at what lies behind it.
KX_CRASH_SITE(corruptHeap, char* volatile block = static_cast<char*>(std::malloc(2000));
              void* volatile behind = std::malloc(2000); std::memset(block, 0x41, 2032); std::free(behind);
              std::free(block))
// The stream stays locked by the thread that faults.
KX_CRASH_SITE(faultInPrinting, flockfile(stdout); readNull())

struct Destroyed {
    bool isArmed = false;
    ~Destroyed()
    {
        if (isArmed) readNull();
    }
};
Destroyed destroyed;

class Thread : public kxThread {
public:
    explicit Thread(void (*fault)()) : fault_(fault) { start(false); }
    ~Thread() override { stop(true); }

private:
    void process() override { fault_(); }
    void (*const fault_)();
};

struct Report : kxExceptionReportInterface {
    void reportError(const kxFatalError& error) override
    {
        kxProgramExecution::instance().reportError(error);
        isBegun = true;
    }
    void writeDump(const std::vector<kxStackItem>& items) override
    {
        if (isFaulting) readNull();
        kxProgramExecution::instance().writeDump(items);
    }

    std::atomic<bool> isBegun{false};
    bool isFaulting = false;
};
Report report;

void faultInReport()
{
    report.isFaulting = true;
    kxProgramExecution::instance().setReport(&report);
    callNull();
}

void exitDuringDump()
{
    kxProgramExecution::instance().setReport(&report);
    [[maybe_unused]] static Thread& thread = *new Thread(readNull);
    while (!report.isBegun) ::usleep(100);
}

void onTwoThreads()
{
    Thread first(readNull), second(readNull);
    first.join(), second.join();
}

void faultInChild()
{
    const pid_t child = ::fork();
    if (child == 0) readNull();
    ::waitpid(child, nullptr, 0);
}

#define KX_WAY(function)                                                                                     \
    {                                                                                                        \
#function, function                                                                                  \
    }
constexpr struct {
    const char* name;
    void (*run)();
} kWays[] = {
    KX_WAY(readNull),
    KX_WAY(callNull),
    KX_WAY(divideByZero),
    KX_WAY(abortProgram),
    KX_WAY(stopInDebugger),
    KX_WAY(throwError),
    KX_WAY(killItself),
    KX_WAY(overflowStack),
    KX_WAY(corruptHeap),
#if defined(__x86_64__)
    KX_WAY(illegalInstruction),
    KX_WAY(privilegedInstruction),
    KX_WAY(readMisaligned),
#endif
    KX_WAY(faultInPrinting),
    KX_WAY(faultInReport),
    KX_WAY(exitDuringDump),
    KX_WAY(onTwoThreads),
    KX_WAY(faultInChild),
    {"inDestructor", [] { destroyed.isArmed = true; }},
    {"onThread", [] { Thread(readNull).join(); }},
    {"overflowThread", [] { Thread(overflowStack).join(); }},
    {"throwInThreads", [] { Thread(throwError).join(), Thread(throwError).join(); }},
    {"throwAndFault", [] { Thread(throwError).join(), readNull(); }},
    {"hostHandler", readNull},
};

}  // namespace kxCrasher

int main(int, char** arguments)
{
    if (std::strcmp(arguments[1], "hostHandler") == 0) std::signal(SIGSEGV, [](int) { ::_exit(7); });
    if (!kxProgramExecution::install()) return 90;
    for (const auto& row : kxCrasher::kWays)
        if (std::strcmp(row.name, arguments[1]) == 0) row.run();
    return 0;
}
