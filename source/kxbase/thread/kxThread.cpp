#include "kxbase/thread/kxThread.h"

#include "kxbase/platform/kxPlatformWait.h"
#include "kxbase/thread/kxThreadState.h"

kxThread::kxThread() : state_(*new kxThreadState(*this)) {}

kxThread::~kxThread() noexcept(false)
{
    state_.abandon();
}

bool kxThread::start(bool wait)
{
    return state_.start(wait);
}

void kxThread::stop(bool wait)
{
    state_.stop(wait);
}

void kxThread::join()
{
    state_.join();
}

bool kxThread::isRunning(bool check)
{
    return state_.hasFlag(KX_THREAD_RUNNING, check);
}

bool kxThread::isStopping(bool check)
{
    return state_.hasFlag(KX_THREAD_STOP, check);
}

void kxThread::checkHeartbeat()
{
    state_.checkHeartbeat();
}

void kxThread::setWatchdogSeconds(double seconds)
{
    state_.setWatchdogSeconds(seconds);
}

double kxThread::watchdogSeconds() const
{
    return state_.watchdogSeconds();
}

void kxThread::setPriority(std::uint32_t priority)
{
    state_.setPriority(priority);
}

std::uint32_t kxThread::priority() const
{
    return state_.priority();
}

double kxThread::lastHeartbeatSeconds() const
{
    return state_.lastHeartbeatSeconds();
}

std::uint32_t kxThread::threadId() const
{
    return state_.threadId();
}

std::uint32_t kxThread::activeCount()
{
    return kxThreadState::activeCount();
}

void kxThread::sleep(std::uint32_t milliseconds)
{
    kxPlatformSleep(milliseconds);
}

void kxThread::setExceptionHandler(kxThreadExceptionInterface* handler)
{
    kxThreadState::setExceptionHandler(handler);
}
