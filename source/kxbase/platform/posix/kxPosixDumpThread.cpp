#include "kxbase/platform/posix/kxPosixDumpThread.h"

#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/platform/posix/kxPosixCrashTimes.h"
#include "kxbase/platform/posix/kxPosixFault.h"
#include "kxbase/platform/posix/kxPosixSignals.h"

#include <atomic>
#include <cstdlib>

#include <pthread.h>
#include <unistd.h>

namespace {

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
kxPosixDumpResult result = KX_POSIX_DUMP_LOST;

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
    for (const int signal : KX_POSIX_FAULT_SIGNALS) sigaddset(&faults, signal);
    pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);
    result = actions->dump(crash) ? KX_POSIX_DUMP_HANDLED : KX_POSIX_DUMP_PASSED_ON;
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
            kxPlatformWaitWhile(progress, step, KX_PLATFORM_WAIT_FOREVER);
        serve();
    }
}

// Serves until the process ends; nobody closes it.
kxPlatformThread* start()
{
    const kxPosixSignalsBlocked blocked;  // in the thread as well, which begins with the signals of this one
    static kxPlatformThread* thread;
    thread = kxPlatformThreadStart(body, nullptr);
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
    for (;;) kxPlatformWaitWhile(progress, LOST, KX_PLATFORM_WAIT_FOREVER);
}

kxPlatformCrash* kxPosixDumpRoom()
{
    return progress.load() == IDLE ? &crash : nullptr;
}

// The progress alone does not tell: it may be at LOST because of what has come after the dump.
kxPosixDumpResult kxPosixDump()
{
    result = KX_POSIX_DUMP_LOST;
    setProgress(ASKED);
    const bool isInTime = kxPlatformWaitWhile(progress, ASKED, KX_POSIX_DUMP_MILLISECONDS);
    return isInTime || !changeProgress(ASKED, LOST) ? result : KX_POSIX_DUMP_LOST;
}

bool kxPosixTell()
{
    return kxPlatformWaitWhile(progress, DUMPED, KX_POSIX_TELL_MILLISECONDS) && progress.load() != LOST;
}
