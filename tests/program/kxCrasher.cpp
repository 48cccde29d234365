// Ends in the way that its argument names.

#include "kxbase/program/kxProgramExecution.h"
#include "kxbase/thread/kxThread.h"

#include <algorithm>
#include <atomic>
#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <ucontext.h>
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
int jumps = 0;
sigjmp_buf place;
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
KX_CRASH_SITE(privilegedInstruction, asm volatile("lgdt %fs:(%rsp)"))
KX_CRASH_SITE(denormalOperand, constexpr unsigned kMask = 1U << 8;
              __builtin_ia32_ldmxcsr(__builtin_ia32_stmxcsr() & ~kMask); volatile float number = 1e-40F;
              number = number * 2)
KX_CRASH_SITE(readMisaligned, asm volatile("pushfq; orq $0x40000, (%%rsp); popfq; movl 1(%%rsp), %%eax"
                                           :
                                           :
                                           : "eax", "memory", "cc"))
KX_CRASH_SITE(loseStack, asm volatile("mov $16, %%rsp; mov $16, %%rbp; mov 0, %%eax" : : : "memory"))
// A handler returns to where nothing can be, not even an address.
KX_CRASH_SITE(
    losePlace, struct sigaction action{}; action.sa_flags = SA_SIGINFO;
    action.sa_sigaction =
        [](int, siginfo_t*, void* context) {
            static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RIP] = 0x4141414141414141;
        };
    ::sigaction(SIGUSR1, &action, nullptr); std::raise(SIGUSR1))
#endif
// The allocator finds the second release when it looks at what lies behind it.
KX_CRASH_SITE(corruptHeap, char* volatile block = static_cast<char*>(std::malloc(2000));
              void* volatile behind = std::malloc(2000); std::memset(block, 0x41, 2032); std::free(behind);
              std::free(block))
// The stream stays locked by the thread that faults.
KX_CRASH_SITE(faultInPrinting, flockfile(stdout); readNull())

struct Destroyed {
    bool isArmed = false;
    ~Destroyed();
};
Destroyed::~Destroyed()
{
    if (isArmed) readNull();
}
Destroyed destroyed;

class Thread : public kxThread {
public:
    explicit Thread(void (*fault)()) : fault_(fault) { start(false); }
    ~Thread() override { stop(true); }

private:
    void process() override;
    void (*const fault_)();
};
void Thread::process()
{
    fault_();
}

struct Report : kxExceptionReportInterface {
    void reportError(const kxFatalError& error) override
    {
        kxProgramExecution::instance().reportError(error);
        isBegun = true;
    }
    void writeDump(const std::vector<kxStackItem>& items) override
    {
        if (fault != nullptr) fault();
        ::usleep(delayMicroseconds);
        kxProgramExecution::instance().writeDump(items);
    }

    std::atomic<bool> isBegun{false};
    void (*fault)() = nullptr;
    useconds_t delayMicroseconds = 0;
};
Report report;

template <void (*kFault)()> void failInReport()
{
    std::set_terminate([] { ::_exit(92); });
    report.fault = kFault;
    kxProgramExecution::instance().setReport(&report);
    callNull();
}

template <rlim_t kBytes> void limitFiles()
{
    const rlimit limit{kBytes, kBytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

// Under the names that the file may have in the next minute.
void faultAmongPipes()
{
    const std::time_t now = std::time(nullptr);
    for (std::time_t second = now; second < now + 60; ++second) {
        std::tm local{};
        char name[64];
        std::strftime(name, sizeof(name), "%Y_%m_%d__%H_%M_%S_crash.txt", ::localtime_r(&second, &local));
        ::mkfifo(name, 0600);
    }
    readNull();
}

// For a thread of the program that waits for it.
void abortPending()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGABRT);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    ::kill(::getpid(), SIGABRT);
    if (sigsetjmp(place, 1) == 0) readNull();
    constexpr timespec kNoTime{};
    ::_exit(::sigtimedwait(&signals, nullptr, &kNoTime) == SIGABRT ? 0 : 1);
}

struct sigaction handedTo;

// The handler is there after that of the library, and hands on.
void handOn()
{
    struct sigaction action {};
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    action.sa_sigaction = [](int signal, siginfo_t* info, void* context) {
        handedTo.sa_sigaction(signal, info, context);
    };
    ::sigaction(SIGSEGV, &action, &handedTo);
}

void slowDump()
{
    report.delayMicroseconds = 200000;
    kxProgramExecution::instance().setReport(&report);
}

// Has the thread that faults killed, and ends.
void exitDuringDump()
{
    slowDump();
    static Thread& thread = *new Thread(readNull);
    thread.setWatchdogSeconds(1e-6);
    while (!report.isBegun) ::usleep(100);
    thread.checkHeartbeat();
}

// The file of the exception is gone.
void faultAfterRemoval()
{
    Thread(throwError).join();
    for (const auto& entry : std::filesystem::directory_iterator(".")) std::filesystem::remove(entry);
    readNull();
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

// The child ends as one of the thread would that is all of it.
void faultInChildOfThread()
{
    Thread([] {
        const pid_t child = ::fork();
        if (child == 0) kxProgramExecution::install(), readNull();
        int status = 0;
        ::waitpid(child, &status, 0);
        ::_exit(WEXITSTATUS(status));
    }).join();
}

void handle(int signal, void (*handler)(int))
{
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_NODEFER | SA_ONSTACK;
    ::sigaction(signal, &action, nullptr);
}

void jump(int)
{
    siglongjmp(place, ++jumps);
}

void hostHandler()
{
    if (sigsetjmp(place, 1) < 2) readNull();
    ::_exit(7);
}

void abortOn(int)
{
    std::abort();
}

void abortAfterJump()
{
    handle(SIGUSR1, abortOn);
    if (sigsetjmp(place, 1) == 0) readNull();
    std::raise(SIGUSR1);
}

// The order to kill a thread is obeyed after a jump: the thread is gone before it can end the process.
template <bool kIsDuringDump> void killJumping()
{
    static std::atomic<pid_t> id{0};
    static std::atomic<bool> isBeyond{false}, isOrdered{false};
    slowDump();
    Thread thread([] {
        id = ::gettid();
        if (sigsetjmp(place, kIsDuringDump) < 2) readNull();
        isBeyond = true;
        while (!isOrdered) ::usleep(100);
        ::usleep(1000);
        ::_exit(9);
    });
    while (kIsDuringDump ? !report.isBegun : !isBeyond) ::usleep(100);
    thread.setWatchdogSeconds(1e-6);
    thread.checkHeartbeat();
    isOrdered = true;
    while (::tgkill(::getpid(), id, 0) == 0) ::usleep(100);
}

void restoreDefault(int signal)
{
    std::signal(signal, SIG_DFL);
}

#define KX_WAY(function) #function, nullptr, function

// The handler is there before that of the library.
const struct Way {
    std::string_view name;
    void (*handlerBefore)(int);
    void (*function)();
} kWays[] = {
    {KX_WAY(readNull)},
    {KX_WAY(callNull)},
    {KX_WAY(divideByZero)},
    {KX_WAY(abortProgram)},
    {KX_WAY(stopInDebugger)},
    {KX_WAY(throwError)},
    {KX_WAY(killItself)},
    {KX_WAY(overflowStack)},
    {KX_WAY(corruptHeap)},
    {KX_WAY(faultInPrinting)},
    {"faultInReport", nullptr, failInReport<readNull>},
    {KX_WAY(exitDuringDump)},
    {KX_WAY(onTwoThreads)},
    {KX_WAY(faultInChild)},
    {KX_WAY(faultAmongPipes)},
    {KX_WAY(faultInChildOfThread)},
    {"throwInReport", nullptr, failInReport<throwError>},
#if defined(__x86_64__)
    {KX_WAY(illegalInstruction)},
    {KX_WAY(privilegedInstruction)},
    {KX_WAY(readMisaligned)},
    {KX_WAY(denormalOperand)},
    {KX_WAY(losePlace)},
    {"loseStackHandedOn", nullptr, [] { handOn(), loseStack(); }},
#endif
    {"exitWithHandler", restoreDefault, exitDuringDump},
    {"hostHandler", jump, hostHandler},
    {"abortInHandler", abortOn, readNull},
    {"abortAfterJump", jump, abortAfterJump},
    {"abortPending", jump, abortPending},
    {"killAfterJump", jump, killJumping<false>},
    {"killDuringDump", jump, killJumping<true>},
    {"inDestructor", nullptr, [] { destroyed.isArmed = true; }},
    {"onThread", nullptr, [] { Thread(readNull).join(); }},
    {"overflowThread", nullptr, [] { Thread(overflowStack).join(); }},
    {"throwInThreads", nullptr, [] { Thread(throwError).join(), Thread(throwError).join(); }},
    {"overflowAtLimit", nullptr, [] { limitFiles<1000>(), overflowStack(); }},
    {"throwAtLimit", nullptr, [] { limitFiles<10>(), Thread(throwError).join(); }},
    {"throwAndFault", nullptr, [] { Thread(throwError).join(), readNull(); }},
    {KX_WAY(faultAfterRemoval)},
};

}  // namespace kxCrasher

int main(int, char** arguments)
{
    using kxCrasher::kWays;
    const auto* const way = std::find_if(std::begin(kWays), std::end(kWays),
                                         [=](const auto& row) { return row.name == arguments[1]; });
    if (way == std::end(kWays)) return 91;
    if (way->handlerBefore != nullptr) kxCrasher::handle(SIGSEGV, way->handlerBefore);
    if (!kxProgramExecution::install()) return 90;
    way->function();
}
