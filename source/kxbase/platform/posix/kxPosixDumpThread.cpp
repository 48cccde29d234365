#include "kxbase/platform/posix/kxPosixDumpThread.h"

#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/platform/posix/kxPosixFault.h"

#include <atomic>
#include <cstdlib>

#include <pthread.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t kDumpMilliseconds = 10000;
constexpr std::uint32_t kTellMilliseconds = 1000;
static_assert(kDumpMilliseconds + kTellMilliseconds == kxPosixLongestDumpMilliseconds);
constexpr std::uint32_t kForEver = 0xFFFFFFFF;

// How far the dump thread is.
//
//   IDLE -> ASKED          the faulting thread
//   ASKED -> DUMPED        the dump thread, when the file is written
//   DUMPED -> IDLE         the dump thread, when the user has been told
//   ASKED -> LOST          the faulting thread, when that takes too long
//   ASKED, DUMPED -> LOST  the dump thread, when it faults; it does nothing any more
//   LOST -> IDLE           the dump thread, when it is done too late, and whoever has started one
//   any -> LOST            a forked child
enum Progress : std::uint32_t { LOST, IDLE, ASKED, DUMPED };

constinit std::atomic<std::uint32_t> progress{LOST};

// Made before any fault.
const kxPlatformCrashActions* actions = nullptr;
constinit std::atomic<std::uint32_t> threadId{0};
constinit std::atomic<pid_t> process{0};

// The dump thread's from ASKED until it is done, else the faulting thread's.
kxPlatformCrash crash;
bool isCrashHandled = false;

void setProgress(Progress step)
{
    progress.store(step);
    kxPlatformWakeAll(progress);
}

// Answers whether it was at the first step.
bool changeProgress(std::uint32_t from, Progress to)
{
    if (!progress.compare_exchange_strong(from, to)) return false;
    kxPlatformWakeAll(progress);
    return true;
}

// While it waits no signal may reach this thread; what is sent to the process is for the threads of the program.
// What it does itself may fault.
void serve()
{
    sigset_t faults;
    sigemptyset(&faults);
    for (const int signal : kxPosixFaultSignals) sigaddset(&faults, signal);
    pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);
    isCrashHandled = actions->dump(crash);
    if (changeProgress(ASKED, DUMPED)) actions->tell();
    pthread_sigmask(SIG_BLOCK, &faults, nullptr);
    setProgress(IDLE);
}

void body(void*)
{
    // Its first block gives the thread a part of the heap to itself, while there is one to be had. The thread that
    // faults may have locked its own.
    void* volatile block = std::malloc(1);
    std::free(block);
    threadId.store(kxPlatformThreadId());
    for (;;) {
        for (std::uint32_t step = progress.load(); step != ASKED; step = progress.load())
            kxPlatformWaitWhile(progress, step, kForEver);
        serve();
    }
}

// Serves until the process ends; nobody closes it.
kxPlatformThread* start()
{
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    static kxPlatformThread* thread;
    thread = kxPlatformThreadStart(body, nullptr);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

}  // namespace

bool kxPosixStartDumpThread(const kxPlatformCrashActions& wanted)
{
    const pid_t own = ::getpid();
    if (process.exchange(own) == own) return true;
    actions = &wanted;
    if (start() == nullptr) {
        process.store(0);
        return false;
    }
    setProgress(IDLE);
    return true;
}

void kxPosixForgetDumpThread()
{
    progress.store(LOST);
    threadId.store(0);
}

bool kxPosixIsDumpThread(std::uint32_t thread)
{
    return thread == threadId.load() && process.load() == ::getpid();
}

void kxPosixLoseDumpThread()
{
    setProgress(LOST);
    for (;;) kxPlatformWaitWhile(progress, LOST, kForEver);
}

kxPlatformCrash* kxPosixDumpRoom()
{
    return progress.load() == IDLE ? &crash : nullptr;
}

bool kxPosixDump(bool& isHandled)
{
    setProgress(ASKED);
    if (!kxPlatformWaitWhile(progress, ASKED, kDumpMilliseconds) && changeProgress(ASKED, LOST)) return false;
    if (progress.load() == LOST) return false;
    isHandled = isCrashHandled;
    return true;
}

bool kxPosixTell()
{
    return kxPlatformWaitWhile(progress, DUMPED, kTellMilliseconds) && progress.load() != LOST;
}
