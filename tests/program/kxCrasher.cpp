// Ends in the way that its argument names.

#include "kxbase/core/kxFatalError.h"
#include "kxbase/program/kxProgramExecution.h"
#include "kxbase/thread/kxThread.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include <sys/wait.h>
#include <unistd.h>

// The functions that the tests look for have names with linkage, so that no compiler changes them.
#define KX_CRASH_SITE __attribute__((noinline, no_sanitize("undefined", "address"))) void

namespace kxCrasher {

volatile int zero = 0;
volatile int sink = 0;

KX_CRASH_SITE readNull()
{
    sink = *static_cast<volatile int*>(nullptr);
}

KX_CRASH_SITE callNull()
{
    void (*volatile function)() = nullptr;
    function();
    sink = 1;
}

KX_CRASH_SITE divideByZero()
{
    sink = 100 / zero;
}

KX_CRASH_SITE illegalInstruction()
{
#if defined(__x86_64__)
    asm volatile("ud2");
#else
    std::raise(SIGILL);
#endif
}

KX_CRASH_SITE privilegedInstruction()
{
#if defined(__x86_64__)
    asm volatile("hlt");
#endif
}

KX_CRASH_SITE breakpoint()
{
    std::raise(SIGTRAP);
}

KX_CRASH_SITE misalign()
{
#if defined(__x86_64__)
    char bytes[16] = {};
    asm volatile("pushfq; orq $0x40000, (%%rsp); popfq; movl 1(%0), %%eax"
                 :
                 : "r"(bytes)
                 : "eax", "memory", "cc");
#endif
}

KX_CRASH_SITE abortProgram()
{
    std::abort();
}

KX_CRASH_SITE overflowStack()
{
    volatile char room[4096];
    room[0] = 1;
    if (zero == 0) overflowStack();
    sink = room[0];
}

// The allocator finds the second release when it looks through its lists.
KX_CRASH_SITE corruptHeap()
{
    char* volatile block = static_cast<char*>(std::malloc(2000));
    char* volatile behind = static_cast<char*>(std::malloc(2000));
    std::memset(block, 0x41, 2032);
    std::free(behind);
    std::free(block);
}

KX_CRASH_SITE throwError()
{
    throw std::runtime_error("thrown on purpose");
}

// The stream stays locked by the thread that faults.
KX_CRASH_SITE printNull()
{
    flockfile(stdout);
    readNull();
}

KX_CRASH_SITE endItself()
{
    ::kill(::getpid(), SIGSEGV);
    for (;;) ::pause();
}

struct Destroyed {
    bool isArmed = false;
    ~Destroyed()
    {
        if (isArmed) readNull();
    }
};
Destroyed destroyed;

using Fault = void (*)();

class Thread : public kxThread {
public:
    explicit Thread(Fault fault) : fault_(fault) {}
    ~Thread() override { stop(true); }

private:
    void process() override { fault_(); }
    const Fault fault_;
};

void onThread(Fault fault)
{
    Thread thread(fault);
    thread.start();
    thread.join();
}

void onTwoThreads()
{
    Thread first(readNull), second(readNull);
    first.start(false);
    second.start(false);
    first.join();
    second.join();
}

// Lets the program end by itself when the dump has begun.
struct Report : kxExceptionReportInterface {
    void reportError(const kxFatalError& error) override
    {
        kxProgramExecution::instance().reportError(error);
        isBegun = true;
    }
    void writeDump(const std::vector<kxStackItem>& items) override
    {
        kxProgramExecution::instance().writeDump(items);
    }

    std::atomic<bool> isBegun{false};
};

void exitDuringDump()
{
    static Report report;
    kxProgramExecution::instance().setReport(&report);
    static Thread& thread = *new Thread(readNull);
    thread.start();
    while (!report.isBegun) ::usleep(100);
}

void onHostSignal(int)
{
    constexpr char kText[] = "host handler\n";
    (void)!::write(STDOUT_FILENO, kText, sizeof(kText) - 1);
    ::_exit(7);
}

constexpr struct {
    std::string_view name;
    void (*run)();
} kWays[] = {
    {"null", readNull},
    {"call", callNull},
    {"division", divideByZero},
    {"illegal", illegalInstruction},
    {"privileged", privilegedInstruction},
    {"breakpoint", breakpoint},
    {"misaligned", misalign},
    {"abort", abortProgram},
    {"overflow", overflowStack},
    {"heap", corruptHeap},
    {"exception", throwError},
    {"locked", printNull},
    {"sent", endItself},
    {"destructor", [] { destroyed.isArmed = true; }},
    {"thread", [] { onThread(readNull); }},
    {"thread-overflow", [] { onThread(overflowStack); }},
    {"two", onTwoThreads},
    {"exit", exitDuringDump},
    {"process",
     [] {
         onThread(throwError);
         onThread(throwError);
     }},
    {"process-null",
     [] {
         onThread(throwError);
         readNull();
     }},
    {"host", readNull},
    {"fork",
     [] {
         const pid_t child = ::fork();
         if (child == 0) readNull();
         ::waitpid(child, nullptr, 0);
     }},
};

}  // namespace kxCrasher

int main(int argumentCount, char** arguments)
{
    const std::string_view way = argumentCount > 1 ? arguments[1] : "";
    if (way == "host") std::signal(SIGSEGV, kxCrasher::onHostSignal);
    if (!kxProgramExecution::install()) return 90;
    for (const auto& row : kxCrasher::kWays)
        if (row.name == way) row.run();
    return 0;
}
