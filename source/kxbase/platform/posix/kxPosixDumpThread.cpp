#include "kxbase/platform/posix/kxPosixDumpThread.h"

#include "kxbase/platform/kxPlatformThread.h"
#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/platform/posix/kxPosixCrashTimes.h"
#include "kxbase/platform/posix/kxPosixSignals.h"
#include "kxbase/platform/posix/kxPosixThread.h"

#include <atomic>
#include <cstdlib>

#include <unistd.h>

namespace {

// How far the dump thread is.
//
//   NONE -> IDLE                 whoever has started one
//   IDLE -> ASKED                the faulting thread
//   ASKED -> DUMPED              the dump thread, when the file is written
//   ASKED -> LATE                the faulting thread, when that takes too long
//   ASKED, DUMPED, LATE -> IDLE  the dump thread, when it can or need do no more
//   ASKED, DUMPED, LATE -> NONE  the dump thread, when it faults; it does nothing any more
//   any -> NONE                  a forked child
enum Progress : std::uint32_t { NONE, IDLE, ASKED, DUMPED, LATE };

constinit std::atomic<std::uint32_t> progress{NONE};

// Made before any fault.
const kxPlatformCrashActions* actions = nullptr;
constinit std::atomic<std::uint32_t> threadId{0};
constinit std::atomic<pid_t> process{0};

// The dump thread's from ASKED until it is done, else the faulting thread's, as is what has come of it.
kxPlatformCrash crash;
kxPosixDumpResult result = KX_POSIX_DUMP_LOST;
bool isTold = false;

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

// What is thrown here must not end the program in another way than the fault does.
void dumpAndTell()
{
    try {
        result = actions->dump(crash) ? KX_POSIX_DUMP_HANDLED : KX_POSIX_DUMP_PASSED_ON;
        if (!changeProgress(ASKED, DUMPED)) return;
        actions->tell();
        isTold = true;
    } catch (...) {
    }
}

// While it waits no signal may reach this thread; what is sent to the process is for the threads of the program.
// What it does itself may fault.
void serve()
{
    {
        const kxPosixFaultsUnblocked unblocked;
        dumpAndTell();
    }
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
    thread = kxPosixStartThreadWithoutFaults(body, nullptr);
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
    progress.store(NONE);
    threadId.store(0);
}

bool kxPosixIsDumpThread(std::uint32_t thread)
{
    return thread == threadId.load() && process.load() == ::getpid();
}

void kxPosixLoseDumpThread()
{
    setProgress(NONE);
    for (;;) kxPlatformWaitWhile(progress, NONE, KX_PLATFORM_WAIT_FOREVER);
}

bool kxPosixMayDump()
{
    return progress.load() == IDLE;
}

kxPlatformCrash& kxPosixDumpRoom()
{
    return crash;
}

kxPosixDumpResult kxPosixDump()
{
    result = KX_POSIX_DUMP_LOST;
    isTold = false;
    setProgress(ASKED);
    kxPlatformWaitWhile(progress, ASKED, KX_POSIX_DUMP_MILLISECONDS);
    // The result of one that is late stays with the dump thread.
    if (changeProgress(ASKED, LATE)) return KX_POSIX_DUMP_LOST;
    return result;
}

bool kxPosixTell()
{
    return kxPlatformWaitWhile(progress, DUMPED, KX_POSIX_TELL_MILLISECONDS) && isTold;
}
