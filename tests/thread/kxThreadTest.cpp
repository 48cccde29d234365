#include "kxbase/thread/kxThread.h"

#include "kxbase/core/kxClock.h"
#include "kxbase/core/kxFatalError.h"
#include "kxbase/thread/kxPerformanceThreadData.h"
#include "kxbase/thread/kxThreadExceptionInterface.h"
#include "support/kxCapturedStream.h"
#include "support/kxTest.h"

#include <csignal>
#include <fstream>

#include <pthread.h>
#include <sys/resource.h>

namespace {

class Worker : public kxThread {
public:
    using Work = std::function<void(Worker&)>;

    explicit Worker(Work work) : work_(std::move(work)) {}
    ~Worker() override { stop(true); }

private:
    void process() override { work_(*this); }

    const Work work_;
};

void untilStopped(Worker& thread)
{
    while (!thread.isStopping()) kxThread::sleep(1);
}
const volatile bool isForEver = true;

// Thread sanitizer cannot follow a thread that is killed.
#if defined(KX_TEST_THREAD_SANITIZER)
constexpr bool canKill = false;
#else
constexpr bool canKill = true;
#endif

// A figure of /proc/self/status.
long processFigure(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word && word != name + ":") {
    }
    long value = -1;
    status >> value;
    return value;
}

}  // namespace

TEST(kxThread, StartsStopsAndStartsAgain)
{
    std::atomic<int> runs{0};
    Worker thread([&](Worker& self) {
        ++runs;
        untilStopped(self);
    });
    thread.join();
    EXPECT_FALSE(thread.isRunning() || thread.isStopping());
    for (int run = 1; run <= 3; ++run) {
        EXPECT_TRUE(thread.start(run != 2));
        EXPECT_TRUE(thread.start()) << "no second thread";
        EXPECT_TRUE(thread.isRunning() && !thread.isStopping());
        while (runs < run) kxThread::sleep(1);
        EXPECT_EQ(kxThread::activeCount(), 1U);
        kxPerformanceThreadData data;
        EXPECT_TRUE(kxPerformanceThreadData::get(thread.threadId(), data));
        EXPECT_NEAR(data.startSeconds(), kxClock::seconds(), 5);
        thread.stop(true);
        EXPECT_TRUE(!thread.isRunning() && thread.isStopping());
        EXPECT_EQ(runs, run);
        EXPECT_EQ(kxThread::activeCount() + kxPerformanceThreadData::count(), 0U);
    }
}

TEST(kxThread, EndsByItselfWithoutWaitingForItself)
{
    std::atomic<int> runs{0};
    Worker thread([&](Worker& self) {
        self.join();
        self.stop(true);
        if (self.isRunning() && self.isStopping() && self.start()) ++runs;
    });
    for (int run = 1; run <= 2; ++run) {
        thread.start();
        thread.join();
        EXPECT_EQ(runs, run);
    }
}

TEST(kxThread, TheBodyOutlivesTheObject)
{
    static std::atomic<int> phase;
    phase = 0;
    struct Loose : kxThread {
        void process() override
        {
            for (phase = 1; phase == 1;) kxThread::sleep(1);
        }
    };
    const kxMessageRecorder messages;
    {
        Loose thread;
        thread.start();
        while (phase == 0) kxThread::sleep(1);
    }
    ASSERT_EQ(messages.entries().size(), 1U);
    EXPECT_EQ(messages.entries()[0].level, KX_MESSAGE_WARNING);
    EXPECT_EQ(kxThread::activeCount(), 1U);
    phase = 2;
    while (kxThread::activeCount() != 0) kxThread::sleep(1);
}

TEST(kxThread, MayDestroyItselfWhileOthersWaitForIt)
{
    static std::atomic<int> left;
    left = 400;
    struct Loose : kxThread {
        ~Loose() override { --left; }
        void process() override
        {
            while (isStopped && !isStopping()) sleep(0);
            delete this;
        }
        bool isStopped = false;
    };
    const kxMessageRecorder messages;
    for (int turn = left; turn-- != 0;) {
        Loose* const thread = new Loose;
        thread->isStopped = turn % 4 == 0;
        thread->start(turn % 4 != 1);
        if (turn % 4 == 0) thread->stop(true);
    }
    while (left != 0 || kxThread::activeCount() != 0) kxThread::sleep(1);
}

TEST(kxThread, ARefusedStartChangesNothing)
{
    Worker thread([](Worker&) {});
    thread.start();
    thread.join();
    const std::uint32_t id = thread.threadId();
    pthread_attr_t attributes;
    std::size_t stackBytes = 0;
    ASSERT_EQ(::pthread_getattr_default_np(&attributes), 0);
    ::pthread_attr_getstacksize(&attributes, &stackBytes);
    for (const std::size_t bytes : {std::size_t{1} << 50, stackBytes}) {
        ::pthread_attr_setstacksize(&attributes, bytes);
        ASSERT_EQ(::pthread_setattr_default_np(&attributes), 0);
        if (bytes != stackBytes) {
            EXPECT_FALSE(thread.start());
        }
        EXPECT_TRUE(!thread.isRunning() && thread.isStopping() && thread.threadId() == id);
    }
}

// The first run blocks the signal that kills, and ends while the second one is in process().
TEST(kxThread, ARunThatOutlivesItsKillingLeavesTheNextOneAlone)
{
    if (!canKill) GTEST_SKIP();
    std::atomic<int> begun{0}, mayEnd{0};
    Worker thread([&](Worker&) {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
        for (const int run = ++begun; mayEnd < run;) kxThread::sleep(1);
    });
    const auto active = [] { return kxThread::activeCount() + kxPerformanceThreadData::count(); };
    const long threadsBefore = processFigure("Threads");
    for (const int run : {1, 2}) {
        thread.start();
        while (begun != run) kxThread::sleep(1);
        EXPECT_EQ(active(), 2U);
        thread.setWatchdogSeconds(run == 1 ? 1e-9 : 0);
        EXPECT_EQ(thread.isRunning(), run == 2);
    }
    for (mayEnd = 1; processFigure("Threads") > threadsBefore + 1;) kxThread::sleep(1);
    EXPECT_EQ(active(), 2U);
    mayEnd = 2;
    thread.join();
    EXPECT_EQ(active(), 0U);
}

TEST(kxThread, KillsAThreadWithoutHeartbeat)
{
    if (!canKill) GTEST_SKIP();
    const std::tuple<const char*, Worker::Work, bool> rows[] = {
        {"asleep", [](Worker&) { kxThread::sleep(1000000); }, true},
        {"busy",
         [](Worker&) {
             while (isForEver) {
             }
         },
         true},
        {"heartbeats by isStopping", untilStopped, false},
    };
    for (const auto& [why, work, isKilled] : rows) {
        SCOPED_TRACE(why);
        Worker thread(work);
        for (int run = 0; run < 2; ++run) {
            thread.setWatchdogSeconds(0);
            ASSERT_TRUE(thread.start());
            const double heartbeat = thread.lastHeartbeatSeconds();
            kxThread::sleep(30);
            while (!isKilled && thread.lastHeartbeatSeconds() == heartbeat) kxThread::sleep(1);
            EXPECT_TRUE(thread.isRunning()) << "without a watchdog";
            thread.setWatchdogSeconds(isKilled ? 0.02 : 2);
            EXPECT_EQ(thread.isRunning(), !isKilled);
            thread.stop(true);
            EXPECT_TRUE(!thread.isRunning() && thread.isStopping());
            EXPECT_EQ(kxThread::activeCount() + kxPerformanceThreadData::count(), 0U);
        }
    }
}

TEST(kxThread, LeavesNothingBehind)
{
    Worker stopped([](Worker& self) {
        while (!self.isStopping()) kxThread::sleep(0);
    });
    long threadsBefore = 0;
    long sizeBefore = 0;
    for (int turn = 0; turn < 1000; ++turn) {
        ASSERT_TRUE(stopped.start(turn % 2 == 0));
        stopped.stop(false);
        stopped.join();
        if (turn != 100) continue;
        threadsBefore = processFigure("Threads");  // with those of a sanitizer
        sizeBefore = processFigure("VmSize");
    }
    // The system counts a thread a little longer than it can be joined.
    EXPECT_TRUE(kxAwait([&] { return processFigure("Threads") <= threadsBefore; }));
    EXPECT_LT(processFigure("VmSize"), sizeBefore + 100 * 1024) << "kB; a stack is 8 MB";
}

TEST(kxThread, TellsOfExceptions)
{
    struct Handler : kxThreadExceptionInterface {
        void exceptionLeftProcess(std::uint32_t threadId, const char* text) override
        {
            told = std::to_string(threadId) + " " + text;
            throw 1;  // dropped
        }
        std::string told;
    } handler;
    const std::pair<void (*)(), std::string> rows[] = {
        {[] { throw kxFatalError("100 %s"); }, "100 %s"},
        {[] { throw 5; }, "unknown exception"},
    };
    kxThread::setExceptionHandler(&handler);
    for (const auto& [raise, text] : rows) {
        const kxMessageRecorder messages;
        Worker thread([raise = raise](Worker&) { raise(); });
        thread.start();
        thread.join();
        const std::string id = std::to_string(thread.threadId());
        EXPECT_EQ(handler.told, id + " " + text);
        EXPECT_EQ(messages.texts(), std::vector<std::string>{"Thread " + id + " threw exception ('" + text +
                                                             "') outside process()"});
    }
    kxThread::setExceptionHandler(nullptr);
}

TEST(kxThread, SetsThePriority)
{
    const int before = ::getpriority(PRIO_PROCESS, 0);
    const std::pair<std::uint32_t, int> rows[] = {
        {KX_THREAD_LOWEST, 10}, {KX_THREAD_BELOW_NORMAL, 5}, {KX_THREAD_NORMAL, 0}, {5, 0}, {~0U, 0}};
    for (const auto& [priority, change] : rows) {
        int nice = -100;
        Worker thread([&](Worker&) { nice = ::getpriority(PRIO_PROCESS, 0); });
        thread.setPriority(priority);
        thread.start();
        thread.join();
        EXPECT_EQ(nice, std::min(before + change, 19)) << priority;
    }
    int nice = -100;
    Worker inner([&](Worker&) { nice = ::getpriority(PRIO_PROCESS, 0); });
    Worker outer([&](Worker&) { inner.start(), inner.join(); });
    for (Worker* const thread : {&inner, &outer}) thread->setPriority(KX_THREAD_LOWEST);
    outer.start();
    outer.join();
    EXPECT_EQ(nice, std::min(before + 10, 19)) << "priorities do not add up";
}
